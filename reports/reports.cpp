#include "reports/reports.h"

#include "records/recordset_access.h"
#include "reports/refresh_report.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

// What was being read when a load stopped; both are part of the account.
struct LoadProgress {
  TextView field;
  Text report_name;
};

void load_catalog(SharedState& state, ado::Recordset& rows, LoadProgress& progress) {
  CatalogLoading loading(state, rows);
  for (; !rows.eof(); rows.move_next()) {
    progress = {};
    progress.field = u"ReportName";
    progress.report_name = to_text(rows.field(progress.field).value());
    loading.list_report(progress.report_name);
  }
}

}  // namespace

bool Reports::refresh() {
  LoadProgress progress;
  const auto what_was_read = [&] {
    return join(
        {u"Field :     \t", progress.field, kCrLf, u"RegRptName :\t", progress.report_name, kCrLf});
  };
  // The account names the component RegisteredPCs; clients know it so.
  return guarded(state_, {u"RegisteredPCs", u"Refresh"}, false, what_was_read, [&](bool& result) {
    state_.report_row.reset();
    const auto rows = get_recordset(state_, report_list(), ado::LockType::kOptimistic);
    if (rows != nullptr) load_catalog(state_, *rows, progress);
    result = true;
  });
}

std::shared_ptr<Report> Reports::add(const NewReport& values) {
  using Result = std::shared_ptr<Report>;
  return guarded(state_, {u"Reports", u"Add"}, Result(), [&](Result& result) {
    if (values.report_name.empty()) {
      raise_message(state_, u"No report name provided, unable to add report to collection!");
    }
    auto report = std::make_shared<Report>(state_);
    report->set_image_index(values.image_index);
    report->set_maintenance_type(MaintTypeEnum{values.maintenance_type});
    report->set_report_type(values.report_type);
    report->set_name(Text(values.report_name));
    report->set_title(Text(values.title));
    report->set_author(Text(values.author));
    report->set_created(values.created);
    report->set_version(Text(values.version));
    report->set_report_group_id(Text(values.report_group_id));
    report->set_sql(Text(values.sql));
    report->set_ttx(Text(values.ttx));
    report->set_description(Text(values.description));
    report->set_definition(Text(values.definition));
    require_set(state_.reports).add(Text(values.report_name), report);
    result = std::move(report);
  });
}

bool Reports::add_report_object(const std::shared_ptr<Report>& report) {
  return add_object({u"Reports", u"AddReportObject"}, report, [&] {
    return join({u"Report '", report->name(),
                 u"' is already on file. Unable to add to the reports collection!"});
  });
}

}  // namespace tarnwick
