#pragma once

#include <cstdint>

#include "automation/binding.h"

namespace tarnwick::automation {

/// An argument that is an object of any of the seven classes.
struct AnyObject {
  Object object;
};

/// What clients ask of the tables past the members of the seven classes, and rows of them in one
/// go. All members throw Error; 91 for Nothing, 13 for an object of a class that they are not for.
class Rows final {
 public:
  /// A list of rows ends early where it would become longer than this.
  static constexpr std::size_t kMostBytes = 16u << 20;

  explicit Rows(SharedState& state) : state_(state) {}

  /// See automation::insert.
  [[nodiscard]] UpdateErrorEnum insert(const AnyObject& record, TextView full_report_name) const;
  /// See automation::look: outcome, whether it is held, stamp, and process (0: not known).
  [[nodiscard]] Values look(const AnyObject& record) const;

  /// See tarnwick::find_pcs: rows of MAC number, computer id, component.
  [[nodiscard]] Values find_pcs(TextView computer_or_mac_number) const;
  /// See tarnwick::stored_report_files: rows of report and length.
  [[nodiscard]] Values report_files() const;

  /// The names of what `read` tells of a record, and `get_rows` of those of a collection.
  [[nodiscard]] Values properties(const AnyObject& record_or_collection) const;
  /// All properties of a record; Empty for one that cannot be read.
  [[nodiscard]] Values read(const AnyObject& record) const;
  /// Those of up to `count` records of a collection from the position `first`, which is 1 for the
  /// first one: fewer where it ends or where they are long, but none only behind the end.
  [[nodiscard]] Values get_rows(const AnyObject& collection, std::int32_t first,
                                std::int32_t count) const;

 private:
  SharedState& state_;
};

template <>
struct Automated<AnyObject> {
  static constexpr Type kType{Kind::kAnyObject, {}, {}};
  static AnyObject from(const Value& value) { return {std::get<Object>(value)}; }
};

template <>
struct Automated<Values> {
  static constexpr Type kType{Kind::kValues, {}, {}};
  static Value to(Values result) { return std::make_shared<const Values>(std::move(result)); }
};

template <>
struct MembersOf<Rows> {
  static constexpr std::string_view kName = "Rows";
  static constexpr std::tuple kAll{
      method<&Rows::insert>("Insert", {"oRecord", {"sFullReportName", TextView()}}),
      method<&Rows::look>("Look", {"oRecord"}),
      method<&Rows::find_pcs>("FindPCs", {"sComputerOrMACNumber"}),
      method<&Rows::report_files>("ReportFiles"),
      method<&Rows::properties>("Properties", {"oRecordOrCollection"}),
      method<&Rows::read>("Read", {"oRecord"}),
      method<&Rows::get_rows>("GetRows", {"oCollection", "lFirst", "lCount"})};
};

}  // namespace tarnwick::automation
