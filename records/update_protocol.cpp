#include "records/update_protocol.h"

#include "records/row_version.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

// Makes sure that the object holds the row. Whether the row is there; otherwise a new one was begun
// in the recordset.
bool obtain_row(SharedState& state, RecordLock& lock, const RecordWrite& update) {
  if (lock.holds_row()) {
    // A row that was begun by an update that failed is still in the edit buffer.
    return lock.recordset()->edit_mode() != ado::EditMode::kAdd;
  }
  RecordLock::Fetch fetch(lock, update.key, update.table);
  if (fetch.outcome() == FetchOutcome::kCancelled) {
    raise_message(state, u"Record is currently being updated by another process!");
  }
  if (lock.recordset() == nullptr) throw Error(ErrorNumber::kObjectNotSet);
  const bool found = fetch.outcome() == FetchOutcome::kFound;
  if (!found) lock.recordset()->add_new();
  fetch.hold();
  return found;
}

[[noreturn]] void refuse_existing(SharedState& state, const RecordWrite& update,
                                  UpdateErrorEnum& result) {
  result = RecordChanged_ue;
  raise_message(state,
                join({update.changed_opening, update.key, u"' is already on file. Unable to add!"}),
                ado::FailureKind::kChanged);
}

void require_unchanged(SharedState& state, ado::Recordset& row, const RecordWrite& update,
                       UpdateErrorEnum& result) {
  if (update.version.empty()) return;
  if (row_version_text(row.field(u"RowVersion").value()) == update.version) return;
  result = RecordChanged_ue;
  raise_message(state,
                join({update.changed_opening, update.key,
                      u"' has changed since it was originally read! Unable to update!"}),
                ado::FailureKind::kChanged);
}

FailureCause cause_of_missing_row() {
  const ado::AdoError error(ado::AdoErrorNumber::kNoCurrentRecord);
  return {error.kind(), error.number(), error.native(), error.description()};
}

// A commit that is refused and a row that cannot be written end alike.
bool written(SharedState& state, ado::Recordset& row) {
  try {
    return update_write(state, row);
  } catch (const Error&) {
    return false;
  }
}

}  // namespace

void write_row(SharedState& state, RecordLock& lock, const RecordWrite& update,
               UpdateErrorEnum& result) {
  const bool found = obtain_row(state, lock, update);
  ado::Recordset& row = *lock.recordset();
  if (found && update.existing == Existing::kRefused) refuse_existing(state, update, result);
  if (found) require_unchanged(state, row, update, result);
  update.write_columns(row);
  if (written(state, row)) {
    // The row is in the table by now, whether there is memory left to tell more or not.
    if (!found) quietly([&] { state.failures.note(cause_of_missing_row()); });
    return;
  }
  state.errors.append_line(update.refused_line);
  raise_message(state, state.errors.message());
}

}  // namespace tarnwick
