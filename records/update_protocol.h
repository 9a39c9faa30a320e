#pragma once

#include <cstdint>
#include <functional>

#include "records/record_lock.h"
#include "state/enums.h"

namespace tarnwick {

/// What becomes of a row that is there already.
enum class Existing : std::uint8_t { kWritten, kRefused };

/// What a record class brings to the update of its row.
struct RecordWrite {
  /// The row, as update_read takes it.
  TextView key;
  TableSelector table;
  /// The version text that the object was loaded with; empty writes without a comparison.
  TextView version;
  /// What the "has changed" message begins with, up to and with the opening quote before the key.
  TextView changed_opening;
  /// What is appended where the write was refused.
  TextView refused_line;
  /// Assigns the columns of the row that is written.
  std::function<void(ado::Recordset&)> write_columns;
  Existing existing = Existing::kWritten;
};

/// The update protocol, one for all record classes: obtains the row (or takes the one that `lock`
/// holds), adds one where there is none, makes the object the owner, compares row versions, writes,
/// commits. Throws what the class's own handler records; `result` is set before: RecordChanged_ue
/// where the row changed since it was loaded, or came where there was to be none (it stays locked),
/// Error_ue otherwise. A row that was not found and was inserted leaves error 3021 as the last
/// cause: what went through may not be what the client meant.
void write_row(SharedState& state, RecordLock& lock, const RecordWrite& update,
               UpdateErrorEnum& result);

}  // namespace tarnwick
