#pragma once

#include <memory>
#include <string>

#include "reports/reports.h"
#include "tests/support/connected_test.h"

namespace tarnwick::test_support {

/// Fetches the row of the report Sales for maintenance.
inline constexpr TextView kOpenSales =
    u"Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = 'Sales'";
/// Looks whether that row is there.
inline constexpr TextView kLookForSales =
    u"Open server forward-only read-only: Select * From DW_Reports Where ReportName = 'Sales'";
/// The write of an update without payloads.
inline constexpr TextView kWriteWithoutPayloads =
    u"Update ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, "
    u"ReportType, ReportDesc, MaintType, SoftLock, Definition";

/// A test on a database with the report Sales, of which every column is filled, and the report
/// Stock, of which none is.
class ReportTest : public ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex,"
        "  SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, Definition, TTX_Binary,"
        "  Report_Binary) "
        "VALUES ('Sales', 'Title', 'Author', 45000.25, '2.1', 'Group', 7, 'Select 1', 'CRY',"
        "  'Description', 4, 'somebody', 'Definition', X'E92E', X'00FF0D0A');"
        "INSERT INTO DW_Reports (ReportName) VALUES ('Stock')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    load();
  }

  /// Loads the catalog; nothing waits for a lock afterwards, and the trace begins anew.
  void load() {
    ASSERT_TRUE(reports().refresh()) << to_display_utf8(message());
    process_.set_lock_timeout(0);
    (void)process_.trace();
  }

  [[nodiscard]] Reports& reports() { return *process_.server->reports(); }
  [[nodiscard]] std::shared_ptr<Report> report(TextView name) { return reports().item(Text(name)); }

  /// A column of the report Sales, as another program sees it.
  [[nodiscard]] std::string stored(const std::string& column) const {
    return database_.value("SELECT " + column + " FROM DW_Reports WHERE ReportName = 'Sales'");
  }
  /// The whole table, as another program sees it.
  [[nodiscard]] PlainSqlite::Rows table() const {
    return database_.run("SELECT * FROM DW_Reports ORDER BY ReportName");
  }

  /// Puts a table without constraints, triggers and rows in the place of DW_Reports.
  void make_table_without_rules() const { database_.loosen("DW_Reports"); }

  /// A file in a folder of the test's own, as a path for the object model.
  [[nodiscard]] Text path(std::string_view name) const {
    return from_utf8((files_.path() / name).make_preferred().string());
  }
  [[nodiscard]] static std::string content_of(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) return "(no file)";
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] std::string content(std::string_view name) const {
    return content_of(files_.path() / name);
  }

  /// Every byte value in order, `times` times.
  [[nodiscard]] static std::string all_bytes(int times) {
    std::string bytes;
    for (int round = 0; round < times; ++round) {
      for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
  }

  TemporaryFolder files_;
};

}  // namespace tarnwick::test_support
