#include "reports/refresh_report.h"

#include "records/column_values.h"
#include "records/row_version.h"
#include "reports/report_payload.h"
#include "reports/report_setters.h"
#include "reports/report_type.h"
#include "state/guard.h"

namespace tarnwick {

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
    ReportSetters set{*report};
    report->set_name(to_text(row.field(u"ReportName").value()));
    report->set_author(text_or_empty(row, u"Author"));
    report->set_created(date_or_zero(row, u"Created"));
    report->set_description(text_or_empty(row, u"ReportDesc"));
    report->set_image_index(int16_or(row, u"ImageIndex", 0));
    report->set_maintenance_type(MaintTypeEnum{int32_or(row, u"MaintType", NotDefined_mt)});
    report->set_report_group_id(text_or_empty(row, u"RptGrpID"));
    report->set_report_type(report_type_from_code(text_or_empty(row, u"ReportType")));
    set.soft_lock(text_or_empty(row, u"SoftLock"));
    report->set_sql(text_or_empty(row, u"SQLStmnt"));
    report->set_title(text_or_empty(row, u"Title"));
    set.row_version(row_version_text(row.field(u"RowVersion").value()));
    report->set_version(text_or_empty(row, u"Version"));
    report->set_definition(text_or_empty(row, u"Definition"));
    // A row without field definitions leaves those that the object has.
    if (!row.field(u"TTX_Binary").is_null()) {
      report->set_ttx(ttx_from_bytes(state, to_bytes(row.field(u"TTX_Binary").value())));
    }
    set.clear_changed();
    result = true;
  });
}

}  // namespace tarnwick
