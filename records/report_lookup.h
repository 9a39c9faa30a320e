#pragma once

#include "state/shared_state.h"

namespace tarnwick {

/// Keeps the row of the report `name` at hand in `state.report_row`. True when it holds that
/// report; the report that was looked up last (in any letter case) is not read again. False for an
/// empty name, an unknown report and on failure (component General, procedure CheckReportRS).
[[nodiscard]] bool check_report_rs(SharedState& state, TextView name);

}  // namespace tarnwick
