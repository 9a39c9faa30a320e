#pragma once

#include <cstdint>
#include <memory>

#include "reports/report.h"
#include "state/store.h"

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

/// The catalog of all reports, in one list for the whole process. Creating a Reports object
/// replaces the list by an empty one, and the end of any Reports object discards it, for all others
/// too: a client uses the one that Server hands out. Not thread-safe; `state` must outlive it.
class Reports final {
 public:
  explicit Reports(SharedState& state);
  ~Reports();
  Reports(const Reports&) = delete;
  Reports& operator=(const Reports&) = delete;

  /// Whether the list holds this name, in any letter case.
  [[nodiscard]] bool exists(TextView report_name) const;
  /// The list exists and holds an entry, and the shared connection is open.
  [[nodiscard]] bool initialized() const { return usable(state_, state_.reports); }
  [[nodiscard]] bool changed() const { return any_changed(state_.reports); }
  /// The same as initialized().
  [[nodiscard]] bool valid_object() const { return initialized(); }

  [[nodiscard]] const Text& last_error_msg() const { return state_.errors.message(); }
  [[nodiscard]] std::int32_t last_error_number() const { return state_.errors.number(); }

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

  /// The entry under a name or at a position from 1; null where there is none.
  [[nodiscard]] std::shared_ptr<Report> item(const Variant& key_or_position) const;
  /// 0 without a list.
  [[nodiscard]] std::int32_t count() const;
  /// Walks the list in order; an empty list when there is none.
  [[nodiscard]] StoreEnumerator<Report> new_enum() const;

 private:
  SharedState& state_;
};

}  // namespace tarnwick
