#include "records/report_lookup.h"

#include "runtime/case_mapping.h"
#include "runtime/conversions.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

bool holds_report(const std::shared_ptr<ado::Recordset>& row, TextView name) {
  if (row == nullptr || row->state() != ado::ObjectState::kOpen) return false;
  if (row->eof()) return false;
  return equals_ignoring_case(to_text(row->field(u"ReportName").value()), name);
}

}  // namespace

bool check_report_rs(SharedState& state, TextView name) {
  return guarded(state, {u"General", u"CheckReportRS"}, false, [&](bool& result) {
    if (name.empty()) return;
    if (holds_report(state.report_row, name)) {
      result = true;
      return;
    }
    state.report_row = std::make_shared<ado::Recordset>();
    ado::Recordset& row = *state.report_row;
    row.set_active_connection(state.connection);
    row.set_cursor_type(ado::CursorType::kDynamic);
    row.set_lock_type(ado::LockType::kOptimistic);
    row.open(join({u"Select * from DW_Reports  Where ReportName = '", name, u"'"}));
    result = row.record_count() >= 1;
  });
}

}  // namespace tarnwick
