#pragma once

#include "records/property.h"
#include "reports/report.h"

namespace tarnwick {

/// The properties of Report and the columns of DW_Reports, in the order in which the catalog's
/// statement names them.
template <>
struct Properties<Report> {
  static constexpr TextView kTable = u"DW_Reports";

  using enum Access;
  using enum Form;
  // clang-format off
  static constexpr std::tuple kAll{
      Property<&Report::name, &Report::set_name>{
          "Name", 30, kReadWrite, {u"ReportName", 1}, {u"ReportName", 1},
          "what it is listed under", kPartOfKey},
      Property<&Report::title, &Report::set_title>{
          "Title", 29, kReadWrite, {u"Title", 11, kNullIsEmpty}, {u"Title", 2}, "its heading"},
      Property<&Report::author, &Report::set_author>{
          "Author", 28, kReadWrite, {u"Author", 2, kNullIsEmpty}, {u"Author", 3}, "who made it"},
      Property<&Report::created, &Report::set_created>{
          "Created", 27, kReadWrite, {u"Created", 3, kNullIsEmpty}, {u"Created", 4},
          "when it was made; the present for a new report"},
      Property<&Report::version, &Report::set_version>{
          "Version", 26, kReadWrite, {u"Version", 13, kNullIsEmpty}, {u"Version", 5},
          "its version; 1.0.0 for a new report"},
      Property<&Report::report_group_id, &Report::set_report_group_id>{
          "ReportGroupID", 25, kReadWrite, {u"RptGrpID", 7, kNullIsEmpty}, {u"RptGrpID", 6},
          "the group that it is listed in"},
      Property<&Report::image_index, &Report::set_image_index>{
          "ImageIndex", 24, kReadWrite, {u"ImageIndex", 5, kNullIsEmpty}, {u"ImageIndex", 7},
          "picture in the catalog"},
      Property<&Report::sql, &Report::set_sql>{
          "SQL", 23, kReadWrite, {u"SQLStmnt", 10, kNullIsEmpty}, {u"SQLStmnt", 8},
          "the statement behind it"},
      Property<&Report::report_type, &Report::set_report_type>{
          "ReportType", 18, kReadWrite, {u"ReportType", 8, kNullIsEmpty}, {u"ReportType", 10},
          "what kind of report it is"},
      Property<&Report::description, &Report::set_description>{
          "Description", 17, kReadWrite, {u"ReportDesc", 4, kNullIsEmpty}, {u"ReportDesc", 11},
          "what it tells"},
      Property<&Report::maintenance_type, &Report::set_maintenance_type>{
          "MaintenanceType", 16, kReadWrite, {u"MaintType", 6, kNullIsEmpty}, {u"MaintType", 12},
          "the kind of maintenance that it stands for"},
      Property<&Report::soft_lock, &Report::set_soft_lock>{
          "SoftLock", 15, kRead, {u"SoftLock", 9, kNullIsEmpty}, {},
          "who maintains it, since when"},
      Property<&Report::row_version, &Report::set_row_version>{
          "RowVersion", 31, kRead, {u"RowVersion", 12}, {},
          "the version of its row", kNoKey, kRowVersion},
      Property<&Report::ttx, &Report::set_ttx>{
          "TTX", 22, kReadWrite, {u"TTX_Binary", 15}, {u"TTX_Binary", 9},
          "its field definitions", kNoKey, kOwn},
      Property<&Report::definition, &Report::set_definition>{
          "Definition", 21, kReadWrite, {u"Definition", 14, kNullIsEmpty}, {u"Definition", 13},
          "its definition"},
  };
  // clang-format on

  /// The report file, which stays in the table.
  static constexpr std::array<TextView, 1> kMoreColumns{u"Report_Binary"};
};

}  // namespace tarnwick
