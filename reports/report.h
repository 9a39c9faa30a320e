#pragma once

#include <cstdint>
#include <memory>

#include "records/record_object.h"
#include "records/row_values.h"
#include "state/enums.h"

namespace tarnwick {

/// One row of DW_Reports: a report of the catalog, with its field definitions (ttx) and, in the
/// table only, its report file. A report that was loaded with the catalog is no more than its row,
/// as the engine packed it, until something in it is changed.
class Report final : public RecordObject {
 public:
  explicit Report(SharedState& state);
  /// The report of a plain row of `rows`, as it is loaded: unchanged.
  Report(SharedState& state, std::shared_ptr<const LoadedRows<Report>> rows, const std::byte* row);
  ~Report();

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
  [[nodiscard]] bool initialized() const { return !name().empty(); }
  /// The name.
  [[nodiscard]] Text key() const { return name(); }

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
  [[nodiscard]] Text soft_lock() const;
  [[nodiscard]] MaintTypeEnum maintenance_type() const;
  void set_maintenance_type(MaintTypeEnum value) { set(values().maintenance_type, value); }
  [[nodiscard]] Text description() const;
  void set_description(Text value) { set(values().description, std::move(value)); }
  [[nodiscard]] ReportTypesEnum report_type() const;
  void set_report_type(ReportTypesEnum value) { set(values().report_type, value); }
  /// "CRY" or "".
  [[nodiscard]] Text report_type_as_string() const;
  /// What a text code stands for; the report itself stays as it is.
  [[nodiscard]] ReportTypesEnum get_report_type_from_string(TextView data) const;
  [[nodiscard]] Text definition() const;
  void set_definition(Text value) { set(values().definition, std::move(value)); }
  [[nodiscard]] Text ttx() const;
  void set_ttx(Text value) { set(values().ttx, std::move(value)); }
  [[nodiscard]] Text sql() const;
  void set_sql(Text value) { set(values().sql, std::move(value)); }
  /// 11 in a new object.
  [[nodiscard]] std::int16_t image_index() const;
  void set_image_index(std::int16_t value) { set(values().image_index, value); }
  [[nodiscard]] Text report_group_id() const;
  void set_report_group_id(Text value) { set(values().report_group_id, std::move(value)); }
  [[nodiscard]] Text version() const;
  void set_version(Text value) { set(values().version, std::move(value)); }
  /// The zero date: not known.
  [[nodiscard]] Date created() const;
  void set_created(Date value) { set(values().created, value); }
  [[nodiscard]] Text author() const;
  void set_author(Text value) { set(values().author, std::move(value)); }
  [[nodiscard]] Text title() const;
  void set_title(Text value) { set(values().title, std::move(value)); }
  [[nodiscard]] Text name() const;
  void set_name(Text value);
  /// The text form of the row version that the object was loaded with; "" when it was not loaded.
  [[nodiscard]] Text row_version() const;

  /// Takes its values out of the rows that it was loaded with, which then may go.
  void part_from_rows() { static_cast<void>(values()); }

 private:
  friend struct Properties<Report>;
  friend struct PropertyAccess;

  struct Values {
    Text soft_lock;
    MaintTypeEnum maintenance_type = Report_mt;
    Text description;
    ReportTypesEnum report_type = CrystalReport_rt;
    Text definition;
    Text ttx;
    Text sql;
    std::int16_t image_index = 11;
    Text report_group_id;
    Text version;
    Date created;
    Text author;
    Text title;
    Text name;
    Text row_version;

    // The first name that the object was given: the row that it was loaded from.
    Text initial_name;
  };

  /// The values, made of the row if need be: what is changed has to be kept.
  Values& values();

  // The row version never marks the record changed.
  void set_soft_lock(Text value) { set(values().soft_lock, std::move(value)); }
  void set_row_version(Text value) { values().row_version = std::move(value); }

  UpdateErrorEnum write(TextView procedure, TextView full_report_name, Existing existing);
  void write_columns(ado::Recordset& row, TextView full_report_name);

  RowValues<Report, Values> values_;
};

}  // namespace tarnwick
