#pragma once

#include <cstdint>
#include <memory>

#include "reports/report.h"
#include "state/collection_object.h"

namespace tarnwick {

/// What Reports::add takes.
struct NewReport {
  TextView report_name;
  TextView title;
  TextView author;
  Date created;
  TextView version;
  TextView report_group_id;
  std::int16_t image_index = 0;
  TextView sql;
  TextView ttx;
  ReportTypesEnum report_type = None_rt;
  TextView description;
  std::int16_t maintenance_type = 0;
  /// Accepted and not stored: the new report is written without a comparison of row versions.
  TextView row_version;
  TextView definition;
};

/// The catalog of all reports, in one list for the whole process; their keys are their names.
class Reports final : public CollectionObject<Report, &SharedState::reports> {
 public:
  explicit Reports(SharedState& state) : CollectionObject(state) {}

  /// The same as initialized().
  [[nodiscard]] bool valid_object() const { return initialized(); }

  /// Puts `report` in the list under its name. False when the name is there already (the message
  /// says so), or for null (error 91).
  bool add_report_object(const std::shared_ptr<Report>& report);

  /// Reads the table anew, by name. True also when the table cannot be read: the list stays as it
  /// was, and the account is in the error state. False when the loading stopped (a null name, two
  /// names that differ only in case); the reports before stay.
  bool refresh();

  /// Makes a report in memory and puts it in the list. Null without a name and for a name that is
  /// in the list. Nothing is written before its `update`, which then compares no row version.
  std::shared_ptr<Report> add(const NewReport& values);
};

}  // namespace tarnwick
