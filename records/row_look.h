#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "state/guard.h"

namespace tarnwick {

/// What a look at the row of a record found.
enum class LookOutcome : std::int32_t {
  kMissing = 0,
  kLoaded = 1,
  kHeld = 2,    ///< it is maintained, and this database does not show what was committed before
  kFailed = 3,  ///< an error, now in the error state
};

/// What came of a look at the row of a record.
struct Look {
  LookOutcome outcome = LookOutcome::kFailed;
  /// Whether somebody maintains the row at the moment; if so, with which stamp and in which process
  /// where the engine knows it.
  bool held = false;
  Text stamp;
  std::optional<std::int64_t> process_id;
};

/// Has `load` load the row that `statement` finds and `row` names, as it was committed. Takes no
/// lock, begins no transaction, writes nothing and waits for nobody. Errors are recorded as
/// `procedure`'s.
[[nodiscard]] Look look_at_row(SharedState& state, const Procedure& procedure, TextView statement,
                               const ado::RowName& row,
                               const std::function<bool(ado::Recordset&)>& load);

}  // namespace tarnwick
