#pragma once

#include "reports/report.h"

namespace tarnwick {

/// The statement that reads the catalog by name, without the report files. Traces show its blanks.
[[nodiscard]] const Text& report_list();

/// The statement that reads the row of one report, without its report file. The name goes into it
/// as it stands.
[[nodiscard]] Text report_row(TextView name);

/// Loads `report` from the current row of `rows` and clears its mark of a change. False when a
/// column could not be read, or an argument is null; the columns before it keep their new values.
/// Recorded as component General, procedure RefreshReport.
bool refresh_report(SharedState& state, Report* report, ado::Recordset* rows);

}  // namespace tarnwick
