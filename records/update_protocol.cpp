#include "records/update_protocol.h"

#include "records/row_version.h"
#include "server/guard.h"

namespace tarnwick {
namespace {

// Whether the row is there; otherwise a new one was begun in the recordset.
bool obtain_row(SharedState& state, RecordLock& lock, const RowUpdate& update) {
  if (lock.holds_row()) {
    // A row that was begun by an update that failed is still in the edit buffer.
    return lock.recordset()->edit_mode() != ado::EditMode::kAdd;
  }
  const FetchOutcome outcome = lock.fetch(update.key, update.table);
  if (outcome == FetchOutcome::kCancelled) {
    raise_message(state, u"Record is currently being updated by another process!");
  }
  if (lock.recordset() == nullptr) throw Error(ErrorNumber::kObjectNotSet);
  if (outcome == FetchOutcome::kFound) return true;
  lock.recordset()->add_new();
  return false;
}

void require_unchanged(SharedState& state, ado::Recordset& row, const RowUpdate& update,
                       UpdateErrorEnum& result) {
  if (update.version.empty()) return;
  if (row_version_text(row.field(u"RowVersion").value()) == update.version) return;
  result = RecordChanged_ue;
  raise_message(state, join({update.changed_opening, update.key,
                             u"' has changed since it was originally read! Unable to update!"}));
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

void write_row(SharedState& state, RecordLock& lock, const RowUpdate& update,
               UpdateErrorEnum& result) {
  const bool found = obtain_row(state, lock, update);
  lock.hold();
  ado::Recordset& row = *lock.recordset();
  if (found) require_unchanged(state, row, update, result);
  update.write_columns(row);
  if (written(state, row)) return;
  state.errors.append_line(update.refused_line);
  raise_message(state, state.errors.message());
}

}  // namespace tarnwick
