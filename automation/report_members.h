#pragma once

#include "automation/binding.h"
#include "reports/report_properties.h"

namespace tarnwick::automation {

inline std::shared_ptr<Report> add_report(Reports& reports, TextView report_name, TextView title,
                                          TextView author, Date created, TextView version,
                                          TextView report_group_id, std::int16_t image_index,
                                          TextView sql, TextView ttx, ReportTypesEnum report_type,
                                          TextView description, std::int16_t maintenance_type,
                                          TextView row_version, TextView definition) {
  return reports.add({report_name, title, author, created, version, report_group_id, image_index,
                      sql, ttx, report_type, description, maintenance_type, row_version,
                      definition});
}

template <>
struct MembersOf<Reports> {
  static constexpr std::string_view kName = "Reports";
  static constexpr std::tuple kAll{
      method<&Reports::exists>("Exists", {"sReportName"}),
      get<&Reports::initialized>("Initialized"),
      get<&Reports::changed>("Changed"),
      get<&Reports::valid_object>("ValidObject"),
      get<&Reports::last_error_msg>("LastErrorMsg"),
      get<&Reports::last_error_number>("LastErrorNumber"),
      method<&Reports::add_report_object>("AddReportObject", {"oReport"}),
      method<&Reports::refresh>("Refresh"),
      method<&add_report>(
          "Add", {"sReportName", "sTitle", "sAuthor", "datCreated", "sVersion", "sReportGroupID",
                  "iImageIndex", "sSQL", "sTTX", "eReportType", "sDescription", "iMaintenanceType",
                  "sRowVersion", "sDefinition"}),
      item<&Reports::item>(),
      get<&Reports::count>("Count"),
      get<&Reports::new_enum>("NewEnum")};
};

template <>
struct MembersOf<Report> {
  static constexpr std::string_view kName = "Report";
  static constexpr auto kAll = members_with_properties<Report>(
      get<&Report::last_error_msg>("LastErrorMsg"),
      get<&Report::last_error_number>("LastErrorNumber"), method<&Report::remove>("Delete"),
      method<&Report::refresh>("Refresh"), method<&Report::lock_record>("LockRecord"),
      method<&Report::release_record>("ReleaseRecord"), get<&Report::locked>("Locked"),
      get<&Report::initialized>("Initialized"), get<&Report::key>("Key"),
      get<&Report::changed>("Changed"),
      method<&Report::update>("Update", {{"sFullReportName", TextView()}}),
      method<&Report::import_ttx>("ImportTTX", {"sFullPathName"}),
      method<&Report::extract_ttx>("ExtractTTX", {"sFullPathName"}),
      method<&Report::extract_report>("ExtractReport", {"sFullPathName"}),
      get<&Report::report_type_as_string>("ReportTypeAsString"),
      method<&Report::get_report_type_from_string>("GetReportTypeFromString", {"sData"}));
};

}  // namespace tarnwick::automation
