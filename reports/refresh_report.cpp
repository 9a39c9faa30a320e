#include "reports/refresh_report.h"

#include "records/column_values.h"
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

constexpr Procedure kProcedure{u"General", u"RefreshReport"};

// `ttx_of`: the text of the field definitions.
template <class TtxOf>
bool load_report(SharedState& state, Report* report, ado::Recordset* rows, TtxOf ttx_of) {
  return guarded(state, kProcedure, false, [&](bool& result) {
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
    const ado::Field ttx = row.field(u"TTX_Binary");
    if (!ttx.is_null()) report->set_ttx(ttx_of(to_bytes(ttx.value())));
    PropertyAccess::clear_changed(*report);
    result = true;
  });
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
  return load_report(state, report, rows,
                     [&](Bytes bytes) { return ttx_from_bytes(state, std::move(bytes)); });
}

bool ReportLoading::load(const std::shared_ptr<Report>& report, ado::Recordset& rows) {
  return load_report(state_, report.get(), &rows, [&](Bytes bytes) {
    Text text = conversions_.convert(std::move(bytes));
    last_ = report;
    return text;
  });
}

ReportLoading::~ReportLoading() {
  const bool finished = guarded(state_, kProcedure, false, [&](bool& result) {
    conversions_.finish();
    result = true;
  });
  if (!finished) last_->set_ttx({});
}

}  // namespace tarnwick
