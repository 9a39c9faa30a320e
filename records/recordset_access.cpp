#include "records/recordset_access.h"

#include "state/guard.h"

namespace tarnwick {

std::shared_ptr<ado::Recordset> get_recordset(SharedState& state, TextView statement,
                                              ado::LockType lock_type) {
  using Result = std::shared_ptr<ado::Recordset>;
  return guarded(state, {u"General", u"GetRecordset"}, Result(), [&](Result& result) {
    auto recordset = std::make_shared<ado::Recordset>();
    recordset->set_active_connection(state.connection);
    recordset->set_cursor_location(ado::CursorLocation::kClient);
    recordset->set_cursor_type(ado::CursorType::kKeyset);
    recordset->set_lock_type(lock_type);
    // One attempt, and the lock-wait dialog stays away: reads that meet a lock fail after the lock
    // time-out and never ask.
    recordset->open(statement, ado::kCommandText);
    state.connection->execute(u"SET LOCK_TIMEOUT 2000");
    result = std::move(recordset);
  });
}

void execute_delete(SharedState& state, TextView statement, std::int32_t options) {
  ado::Connection& connection = state.require_connection();
  // Inside a transaction the deletion goes with it, and is not the last word.
  const bool commits = !connection.in_transaction();
  try {
    connection.execute(statement, options);
  } catch (const Error&) {
    if (commits) note_cause_of_commit(state);
    throw;
  }
}

}  // namespace tarnwick
