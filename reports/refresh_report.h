#pragma once

#include <memory>

#include "reports/report.h"
#include "reports/report_payload.h"

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

/// Loads reports one after the other. The intermediate file of the field definitions has the last
/// ones when this ends; where they cannot be written then, the report that they belong to has
/// failed to load, with the account that it would have left before.
class ReportLoading final {
 public:
  explicit ReportLoading(SharedState& state) : state_(state), conversions_(state) {}
  ~ReportLoading();
  ReportLoading(const ReportLoading&) = delete;
  ReportLoading& operator=(const ReportLoading&) = delete;

  /// As refresh_report; `report` is new.
  bool load(const std::shared_ptr<Report>& report, ado::Recordset& rows);

 private:
  SharedState& state_;
  TtxConversions conversions_;
  std::shared_ptr<Report> last_;  // the one whose field definitions were converted last
};

}  // namespace tarnwick
