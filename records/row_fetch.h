#pragma once

#include <cstdint>
#include <memory>

#include "state/shared_state.h"

namespace tarnwick {

/// Which table a row is maintained in.
enum class TableSelector : std::int16_t { kComponents = 0, kPcs = 1, kReports = 2 };

/// Joins the three fields of a PC's key, and parts them.
inline constexpr char16_t kKeySeparator = u'\u00FE';

/// How a row was obtained for maintenance.
enum class FetchOutcome {
  kFound,      // locked and stamped; the transaction is open
  kMissing,    // no such row; the recordset stands on the empty result, the transaction is open
  kCancelled,  // another process has the row and the user gave up; no transaction is open
  kFailed,     // an error, now in the error state
};

struct FetchedRow {
  /// Null when the fetch failed.
  std::shared_ptr<ado::Recordset> recordset;
  FetchOutcome outcome = FetchOutcome::kFailed;
};

/// UpdateRead: opens the row `key` for maintenance inside a transaction and stamps its SoftLock
/// with the computer's name and the time. Keys: a component's id in decimal; a report's name; a
/// PC's MAC number, computer id and component id joined by kKeySeparator. Asks Retry or Cancel when
/// another process has the row. A missing row leaves "No Record found for ID: ..." in the error
/// state; errors are recorded there as component General, procedure UpdateRead. The transaction is
/// the caller's to end.
[[nodiscard]] FetchedRow update_read(SharedState& state, TextView key, TableSelector table);

/// UpdateWrite: clears SoftLock, writes the row and commits. False when the row could not be
/// written (recorded as procedure UpdateWrite). A commit that is refused, for whatever reason, is
/// rolled back and raised as error -2147221504 with the message "Unable to update, record is
/// locked!"; the reason is the last cause.
[[nodiscard]] bool update_write(SharedState& state, ado::Recordset& row);

/// UpdateRelease: rolls back, which takes the stamp back too. Always True; throws what the
/// roll-back throws.
bool update_release(ado::Recordset& row);

}  // namespace tarnwick
