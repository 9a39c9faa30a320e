#include "records/row_look.h"

#include "ado/error.h"

namespace tarnwick {
namespace {

LookOutcome read(SharedState& state, TextView statement,
                 const std::function<bool(ado::Recordset&)>& load) {
  ado::Recordset reader;
  reader.set_active_connection(state.connection);
  reader.set_cursor_location(ado::CursorLocation::kServer);
  reader.set_cursor_type(ado::CursorType::kForwardOnly);
  reader.set_lock_type(ado::LockType::kReadOnly);
  reader.set_held_rows(ado::HeldRowReading::kAsCommitted);
  try {
    reader.open(statement, ado::kCommandText);
  } catch (const ado::AdoError& error) {
    if (error.native() != ado::kNativeLockTimeout) throw;
    return LookOutcome::kHeld;
  }
  if (reader.eof()) return LookOutcome::kMissing;
  return load(reader) ? LookOutcome::kLoaded : LookOutcome::kFailed;
}

}  // namespace

Look look_at_row(SharedState& state, const Procedure& procedure, TextView statement,
                 const ado::RowName& row, const std::function<bool(ado::Recordset&)>& load) {
  return guarded(state, procedure, Look(), [&](Look& result) {
    ado::Connection& connection = state.require_connection();
    Look look{.outcome = read(state, statement, load), .stamp = {}, .process_id = {}};
    if (const auto holder = connection.holder_of(row)) {
      look.held = true;
      look.stamp = holder->stamp;
      look.process_id = holder->process_id;
    }
    result = std::move(look);
  });
}

}  // namespace tarnwick
