#include "records/deletion.h"

#include "state/guard.h"

namespace tarnwick {

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
