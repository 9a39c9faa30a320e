#include "reports/refresh_report.h"

#include "records/column_values.h"
#include "records/loaded_rows.h"
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

CatalogLoading::CatalogLoading(SharedState& state, ado::Recordset& rows)
    : state_(state), rows_(rows), packed_(LoadedRows<Report>::of(rows)), conversions_(state) {
  state.reports =
      std::make_shared<Store<Report>>(std::make_unique<LoadedRecords<Report>>(state, packed_));
  state.reports->reserve(static_cast<std::size_t>(rows.record_count()));
}

// report_list() names all columns that a report is read from, so that there are always packed rows.
bool CatalogLoading::stays_packed() const {
  if (!packed_->is_plain(rows_.cells())) return false;
  const ado::Cell& ttx = packed_->cell<"TTX">(rows_.cells());
  return ttx.is_null() || conversions_.has_room_for(ttx.size);
}

void CatalogLoading::list_report(TextView name) {
  Store<Report>& reports = *state_.reports;
  const auto position = static_cast<std::int64_t>(reports.size()) + 1;
  if (stays_packed()) {
    const ado::Cell& ttx = packed_->cell<"TTX">(rows_.cells());
    if (!ttx.is_null()) {
      conversions_.pass_over({ttx.data, ttx.size});
      converted_ = position;
    }
    reports.add_row(name, static_cast<std::uint32_t>(rows_.row()));
    return;
  }
  auto report = std::make_shared<Report>(state_);
  load_report(state_, report.get(), &rows_, [&](Bytes bytes) {
    Text text = conversions_.convert(std::move(bytes));
    converted_ = position;
    return text;
  });
  reports.add(name, std::move(report));
}

CatalogLoading::~CatalogLoading() {
  const bool finished = guarded(state_, kProcedure, false, [&](bool& result) {
    conversions_.finish();
    result = true;
  });
  if (finished) return;
  // It is not listed if its name was the one that ended the load.
  quietly([&] { state_.reports->at(converted_)->set_ttx({}); });
}

}  // namespace tarnwick
