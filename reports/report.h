#pragma once

#include <cstdint>
#include <memory>

#include "records/record_object.h"
#include "state/enums.h"

namespace tarnwick {

/// One row of DW_Reports: a report of the catalog, with its field definitions (ttx) and, in the
/// table only, its report file.
class Report final : public RecordObject {
 public:
  explicit Report(SharedState& state);

  /// Deletes the row and takes the entry under this name out of the catalog. False when either
  /// fails; nothing is recorded. Does nothing, and returns True, without a name.
  bool remove();

  /// Always False: the statement filters behind its ordering clause, which no database accepts; the
  /// account is in the error state.
  bool refresh();

  /// Opens the row for maintenance and reloads the object from it. True when it is (or was) locked.
  bool lock_record();
  /// Gives the row back unwritten. False when nothing was locked.
  bool release_record() { return release(false); }

  /// Loads the object from its row as it was committed, without opening it for maintenance; see
  /// look_at_row.
  Look look();

  /// Whether the report has a name.
  [[nodiscard]] bool initialized() const { return !name_.empty(); }
  /// The name.
  [[nodiscard]] const Text& key() const { return name_; }

  /// Writes the report to its row, or inserts it, if nobody changed the row since it was loaded;
  /// takes the lock itself if none is held. `full_report_name`: a file that is stored whole as the
  /// report file; without it the stored one stays. An empty ttx leaves the stored one. A created
  /// date of 0 becomes the present, an empty version "1.0.0". A report that was renamed (letter
  /// case aside) is written under its new name and its old row deleted. Returns OK_ue; Error_ue;
  /// MissRequiredField_ue without a name; MissReportFile_ue; RecordChanged_ue (the row stays
  /// locked).
  UpdateErrorEnum update(TextView full_report_name = {});

  /// As update, but a row that is there already is refused: RecordChanged_ue, nothing is written,
  /// and the row stays locked.
  UpdateErrorEnum insert(TextView full_report_name = {});

  /// Takes the file as ttx, every byte one character (ISO-8859-1). Does not mark the report
  /// changed. False, without a message, for an empty path.
  bool import_ttx(TextView full_path_name);

  /// Writes ttx as ISO-8859-1 to the file of this folder and base name with the extension ".ttx",
  /// whatever extension was given. A character above U+00FF fails: nothing is written.
  bool extract_ttx(TextView full_path_name);

  /// What the last cause says where `extract_report` found the report, and no report file with it.
  static constexpr TextView kNoReportFile =
      u"The Report_Binary field is null, no report is stored in the table!";
  /// Writes the stored report file to this file.
  bool extract_report(TextView full_path_name);

  /// Who maintains the row, since when; as it was when the object was loaded.
  [[nodiscard]] const Text& soft_lock() const { return soft_lock_; }
  [[nodiscard]] MaintTypeEnum maintenance_type() const { return maintenance_type_; }
  void set_maintenance_type(MaintTypeEnum value) { set(maintenance_type_, value); }
  [[nodiscard]] const Text& description() const { return description_; }
  void set_description(Text value) { set(description_, std::move(value)); }
  [[nodiscard]] ReportTypesEnum report_type() const { return report_type_; }
  void set_report_type(ReportTypesEnum value) { set(report_type_, value); }
  /// "CRY" or "".
  [[nodiscard]] Text report_type_as_string() const;
  /// What a text code stands for; the report itself stays as it is.
  [[nodiscard]] ReportTypesEnum get_report_type_from_string(TextView data) const;
  [[nodiscard]] const Text& definition() const { return definition_; }
  void set_definition(Text value) { set(definition_, std::move(value)); }
  [[nodiscard]] const Text& ttx() const { return ttx_; }
  void set_ttx(Text value) { set(ttx_, std::move(value)); }
  [[nodiscard]] const Text& sql() const { return sql_; }
  void set_sql(Text value) { set(sql_, std::move(value)); }
  /// 11 in a new object.
  [[nodiscard]] std::int16_t image_index() const { return image_index_; }
  void set_image_index(std::int16_t value) { set(image_index_, value); }
  [[nodiscard]] const Text& report_group_id() const { return report_group_id_; }
  void set_report_group_id(Text value) { set(report_group_id_, std::move(value)); }
  [[nodiscard]] const Text& version() const { return version_; }
  void set_version(Text value) { set(version_, std::move(value)); }
  /// The zero date: not known.
  [[nodiscard]] Date created() const { return created_; }
  void set_created(Date value) { set(created_, value); }
  [[nodiscard]] const Text& author() const { return author_; }
  void set_author(Text value) { set(author_, std::move(value)); }
  [[nodiscard]] const Text& title() const { return title_; }
  void set_title(Text value) { set(title_, std::move(value)); }
  [[nodiscard]] const Text& name() const { return name_; }
  void set_name(Text value);
  /// The text form of the row version that the object was loaded with; "" when it was not loaded.
  [[nodiscard]] const Text& row_version() const { return row_version_; }

 private:
  friend struct Properties<Report>;
  friend struct PropertyAccess;

  UpdateErrorEnum write(TextView procedure, TextView full_report_name, Existing existing);
  void write_columns(ado::Recordset& row, TextView full_report_name);

  Text soft_lock_;
  MaintTypeEnum maintenance_type_ = Report_mt;
  Text description_;
  ReportTypesEnum report_type_ = CrystalReport_rt;
  Text definition_;
  Text ttx_;
  Text sql_;
  std::int16_t image_index_ = 11;
  Text report_group_id_;
  Text version_;
  Date created_;
  Text author_;
  Text title_;
  Text name_;
  Text row_version_;

  // The first name that the object was given: the row that it was loaded from.
  Text initial_name_;
};

}  // namespace tarnwick
