#include "automation/binding.h"
#include "automation/classes.h"

namespace tarnwick::automation {
namespace {

std::shared_ptr<Report> add(Reports& reports, TextView report_name, TextView title, TextView author,
                            Date created, TextView version, TextView report_group_id,
                            std::int16_t image_index, TextView sql, TextView ttx,
                            ReportTypesEnum report_type, TextView description,
                            std::int16_t maintenance_type, TextView row_version,
                            TextView definition) {
  return reports.add({report_name, title, author, created, version, report_group_id, image_index,
                      sql, ttx, report_type, description, maintenance_type, row_version,
                      definition});
}

}  // namespace

Class make_reports_class() {
  return make_class<Reports>(
      "Reports",
      {
          method<&Reports::exists>("Exists", {"sReportName"}),
          get<&Reports::initialized>("Initialized"),
          get<&Reports::changed>("Changed"),
          get<&Reports::valid_object>("ValidObject"),
          get<&Reports::last_error_msg>("LastErrorMsg"),
          get<&Reports::last_error_number>("LastErrorNumber"),
          method<&Reports::add_report_object>("AddReportObject", {"oReport"}),
          method<&Reports::refresh>("Refresh"),
          method<&add>("Add", {"sReportName", "sTitle", "sAuthor", "datCreated", "sVersion",
                               "sReportGroupID", "iImageIndex", "sSQL", "sTTX", "eReportType",
                               "sDescription", "iMaintenanceType", "sRowVersion", "sDefinition"}),
          item<&Reports::item>(),
          get<&Reports::count>("Count"),
          get<&Reports::new_enum>("NewEnum"),
      });
}

Class make_report_class() {
  return make_class<Report>(
      "Report",
      {
          get<&Report::last_error_msg>("LastErrorMsg"),
          get<&Report::last_error_number>("LastErrorNumber"),
          method<&Report::remove>("Delete"),
          method<&Report::refresh>("Refresh"),
          method<&Report::lock_record>("LockRecord"),
          method<&Report::release_record>("ReleaseRecord"),
          get<&Report::locked>("Locked"),
          get<&Report::initialized>("Initialized"),
          get<&Report::key>("Key"),
          get<&Report::changed>("Changed"),
          method<&Report::update>("Update", {{"sFullReportName", Text()}}),
          method<&Report::import_ttx>("ImportTTX", {"sFullPathName"}),
          method<&Report::extract_ttx>("ExtractTTX", {"sFullPathName"}),
          method<&Report::extract_report>("ExtractReport", {"sFullPathName"}),
          get<&Report::soft_lock>("SoftLock"),
          get_let<&Report::maintenance_type, &Report::set_maintenance_type>("MaintenanceType"),
          get_let<&Report::description, &Report::set_description>("Description"),
          get_let<&Report::report_type, &Report::set_report_type>("ReportType"),
          get<&Report::report_type_as_string>("ReportTypeAsString"),
          method<&Report::get_report_type_from_string>("GetReportTypeFromString", {"sData"}),
          get_let<&Report::definition, &Report::set_definition>("Definition"),
          get_let<&Report::ttx, &Report::set_ttx>("TTX"),
          get_let<&Report::sql, &Report::set_sql>("SQL"),
          get_let<&Report::image_index, &Report::set_image_index>("ImageIndex"),
          get_let<&Report::report_group_id, &Report::set_report_group_id>("ReportGroupID"),
          get_let<&Report::version, &Report::set_version>("Version"),
          get_let<&Report::created, &Report::set_created>("Created"),
          get_let<&Report::author, &Report::set_author>("Author"),
          get_let<&Report::title, &Report::set_title>("Title"),
          get_let<&Report::name, &Report::set_name>("Name"),
          get<&Report::row_version>("RowVersion"),
      });
}

}  // namespace tarnwick::automation
