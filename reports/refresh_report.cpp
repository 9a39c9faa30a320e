#include "reports/refresh_report.h"

#include "records/column_values.h"
#include "reports/report_payload.h"
#include "reports/report_properties.h"
#include "reports/report_type.h"
#include "state/guard.h"

namespace tarnwick {

namespace {

Text read_columns() {
  Text columns;
  for_each_property<Report>([&](const auto& property) {
    columns.append(columns.empty() ? u"" : u", ").append(property.reading.column);
  });
  return columns;
}

}  // namespace

const Text& report_list() {
  static const Text statement =
      join({u"Select ", read_columns(), u"  From  DW_Reports  Order By ReportName"});
  return statement;
}

Text report_row(TextView name) {
  return join({u"Select ", read_columns(), u" From DW_Reports Where ReportName = '", name, u"'"});
}

bool refresh_report(SharedState& state, Report* report, ado::Recordset* rows) {
  return guarded(state, {u"General", u"RefreshReport"}, false, [&](bool& result) {
    // Both texts name the routine of the components: the two routines share them.
    if (rows == nullptr) {
      raise_message(state, u"Invalid recordset passed to RefreshComponent routine!");
    }
    if (report == nullptr) {
      raise_message(state, u"Invalid component passed to RefreshComponent routine!");
    }
    ado::Recordset& row = *rows;
    load_properties(row, *report);
    // A row without field definitions leaves those that the object has.
    if (!row.field(u"TTX_Binary").is_null()) {
      report->set_ttx(ttx_from_bytes(state, to_bytes(row.field(u"TTX_Binary").value())));
    }
    PropertyAccess::clear_changed(*report);
    result = true;
  });
}

}  // namespace tarnwick
