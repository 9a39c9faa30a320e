#include "reports/refresh_report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/recordset_access.h"
#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class RefreshReport : public test_support::ReportTest {
 protected:
  bool load_from(TextView statement) {
    const auto rows = get_recordset(state(), statement, ado::LockType::kOptimistic);
    EXPECT_NE(rows, nullptr) << to_display_utf8(message());
    return refresh_report(state(), &report_, rows.get());
  }
  bool load_sales() { return load_from(u"Select * From DW_Reports Where ReportName = 'Sales'"); }

  /// Loads from a row in which the columns have these values, as SQL, and all others are null.
  bool load_values(const std::string& columns, const std::string& values) {
    make_table_without_rules();
    database_.run("INSERT INTO DW_Reports (" + columns + ") VALUES (" + values + ")");
    return load_from(u"Select * From DW_Reports");
  }

  [[nodiscard]] std::filesystem::path ttx_file() const {
    return process_.host.payload_folder / "TTX.bin";
  }

  Report report_{state()};
};

TEST_F(RefreshReport, CopiesEveryColumn) {
  ASSERT_TRUE(load_sales());
  EXPECT_EQ(report_.name(), u"Sales");
  EXPECT_EQ(report_.title(), u"Title");
  EXPECT_EQ(report_.author(), u"Author");
  EXPECT_EQ(report_.created(), Date{45000.25});
  EXPECT_EQ(report_.version(), u"2.1");
  EXPECT_EQ(report_.report_group_id(), u"Group");
  EXPECT_EQ(report_.image_index(), 7);
  EXPECT_EQ(report_.sql(), u"Select 1");
  EXPECT_EQ(report_.report_type(), CrystalReport_rt);
  EXPECT_EQ(report_.description(), u"Description");
  EXPECT_EQ(report_.maintenance_type(), Report_mt);
  EXPECT_EQ(report_.soft_lock(), u"somebody");
  EXPECT_EQ(to_utf8(report_.row_version()), stored("RowVersion"));
  EXPECT_EQ(report_.row_version().size(), 16u);
  EXPECT_EQ(report_.definition(), u"Definition");
  EXPECT_EQ(report_.ttx(), u"\u00E9.");
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(RefreshReport, LeavesTheReportUnchanged) {
  report_.set_title(u"changed");
  ASSERT_TRUE(load_sales());
  EXPECT_FALSE(report_.changed());
}

TEST_F(RefreshReport, PutsDefaultsInThePlaceOfNullsButKeepsTheFieldDefinitions) {
  ASSERT_TRUE(load_sales());
  ASSERT_TRUE(load_values("ReportName", "'Stock'"));
  EXPECT_EQ(report_.name(), u"Stock");
  EXPECT_EQ(report_.title(), u"");
  EXPECT_EQ(report_.author(), u"");
  EXPECT_EQ(report_.created(), Date{});
  EXPECT_EQ(report_.version(), u"");
  EXPECT_EQ(report_.report_group_id(), u"");
  EXPECT_EQ(report_.image_index(), 0);
  EXPECT_EQ(report_.sql(), u"");
  EXPECT_EQ(report_.report_type(), None_rt);
  EXPECT_EQ(report_.description(), u"");
  EXPECT_EQ(report_.maintenance_type(), NotDefined_mt);
  EXPECT_EQ(report_.soft_lock(), u"");
  EXPECT_EQ(report_.row_version(), u"");
  EXPECT_EQ(report_.definition(), u"");
  EXPECT_EQ(report_.ttx(), u"\u00E9.");
  EXPECT_FALSE(report_.changed());
}

TEST_F(RefreshReport, TakesFieldDefinitionsOfNoBytesForAnEmptyText) {
  ASSERT_TRUE(load_sales());
  ASSERT_TRUE(load_values("ReportName, TTX_Binary", "'Sales', X''"));
  EXPECT_EQ(report_.ttx(), u"");
}

TEST_F(RefreshReport, ReadsTheTypeInAnyLetterCase) {
  for (const std::string code : {"cry", "Cry", "CRY"}) {
    ASSERT_TRUE(load_values("ReportName, ReportType", "'Sales', '" + code + "'"));
    EXPECT_EQ(report_.report_type(), CrystalReport_rt) << code;
  }
  for (const std::string code : {"CR", "", "CRY "}) {
    ASSERT_TRUE(load_values("ReportName, ReportType", "'Sales', '" + code + "'"));
    EXPECT_EQ(report_.report_type(), None_rt) << code;
  }
}

TEST_F(RefreshReport, WritesEachByteOfTheRowVersionAsTwoDigits) {
  ASSERT_TRUE(load_values("ReportName, RowVersion", "'Sales', X'000A0FFF10E9'"));
  EXPECT_EQ(report_.row_version(), u"000A0FFF10E9");
}

TEST_F(RefreshReport, ConvertsWhatTheColumnsHold) {
  ASSERT_TRUE(load_values("ReportName, Title, ImageIndex, MaintType, Created",
                          "12, 2.5, ' 3 ', '4', 45000"));
  EXPECT_EQ(report_.name(), u"12");
  EXPECT_EQ(report_.title(), u"2.5");
  EXPECT_EQ(report_.image_index(), 3);
  EXPECT_EQ(report_.maintenance_type(), Report_mt);
  EXPECT_EQ(report_.created(), Date{45000.0});
}

TEST_F(RefreshReport, TakesMaintenanceTypesThatItDoesNotKnow) {
  ASSERT_TRUE(load_values("ReportName, MaintType", "'Sales', 77"));
  EXPECT_EQ(report_.maintenance_type(), MaintTypeEnum{77});
}

TEST_F(RefreshReport, GivesEveryByteOfTheFieldDefinitionsOneCharacter) {
  const std::string bytes = all_bytes(1);
  ASSERT_TRUE(load_values("ReportName, TTX_Binary",
                          "'Sales', X'" + test_support::hexadecimal(bytes) + "'"));
  ASSERT_EQ(report_.ttx().size(), 256u);
  for (std::size_t byte = 0; byte < 256; ++byte) {
    EXPECT_EQ(report_.ttx()[byte], static_cast<char16_t>(byte));
  }
}

TEST_F(RefreshReport, LeavesTheFieldDefinitionsInTheHostsFolder) {
  std::filesystem::remove(ttx_file());
  ASSERT_TRUE(load_sales());
  EXPECT_EQ(content_of(ttx_file()), "\xE9.");
}

TEST_F(RefreshReport, OverwritesTheIntermediateFile) {
  std::ofstream(ttx_file()) << "something longer than the field definitions";
  ASSERT_TRUE(load_sales());
  EXPECT_EQ(content_of(ttx_file()), "\xE9.");
  EXPECT_EQ(report_.ttx(), u"\u00E9.");
}

TEST_F(RefreshReport, WritesNoIntermediateFileWithoutFieldDefinitions) {
  std::filesystem::remove(ttx_file());
  ASSERT_TRUE(load_from(u"Select * From DW_Reports Where ReportName = 'Stock'"));
  EXPECT_FALSE(std::filesystem::exists(ttx_file()));
}

TEST_F(RefreshReport, LeavesTheSharedStreamClosedWithItsCharacterSet) {
  ASSERT_TRUE(load_sales());
  EXPECT_EQ(state().stream->state(), ado::ObjectState::kClosed);
  EXPECT_EQ(state().stream->charset(), u"iso-8859-1");
}

TEST_F(RefreshReport, ReadsFieldDefinitionsOfSeveralMegabytes) {
  database_.run("UPDATE DW_Reports SET TTX_Binary = randomblob(5000000)");
  ASSERT_TRUE(load_sales());
  ASSERT_EQ(report_.ttx().size(), 5'000'000u);
  std::string bytes;
  for (const char16_t character : report_.ttx()) bytes.push_back(static_cast<char>(character));
  EXPECT_TRUE(bytes == content_of(ttx_file()));
  EXPECT_TRUE(test_support::hexadecimal(bytes) == stored("TTX_Binary"));
}

TEST_F(RefreshReport, FailsWhereTheIntermediateFileCannotBeWritten) {
  process_.host.payload_folder = files_.path() / "missing";
  report_.set_ttx(u"as it was");
  EXPECT_FALSE(load_sales());
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 3004,
                               join({u"Write to file failed. '", path("missing/TTX.bin"),
                                     u"': No such file or directory."})));
  EXPECT_EQ(report_.ttx(), u"as it was");
  EXPECT_EQ(report_.definition(), u"Definition") << "the columns before are loaded";
  EXPECT_TRUE(report_.changed());
}

TEST_F(RefreshReport, WorksAgainAfterTheIntermediateFileFailed) {
  const auto folder = process_.host.payload_folder;
  process_.host.payload_folder = files_.path() / "missing";
  ASSERT_FALSE(load_sales());
  process_.host.payload_folder = folder;
  EXPECT_TRUE(load_sales());
  EXPECT_EQ(report_.ttx(), u"\u00E9.");
}

TEST_F(RefreshReport, StopsAtANullName) {
  report_.set_title(u"as it was");
  EXPECT_FALSE(load_values("ReportName, Title", "NULL, 'new'"));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 94, u"Invalid use of Null"));
  EXPECT_EQ(number(), 94);
  EXPECT_EQ(report_.title(), u"as it was");
}

TEST_F(RefreshReport, ReadsTheColumnsInItsOrderAndKeepsThoseBeforeTheOneThatFails) {
  report_.set_title(u"as it was");
  report_.set_report_group_id(u"as it was");
  EXPECT_FALSE(
      load_values("ReportName, Author, Created, ReportDesc, ImageIndex, MaintType,"
                  " RptGrpID, Title",
                  "'new', 'new', 1, 'new', 3, 40000000000, 'new', 'new'"));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 6, u"Overflow"));
  EXPECT_EQ(report_.name(), u"new");
  EXPECT_EQ(report_.author(), u"new");
  EXPECT_EQ(report_.created(), Date{1.0});
  EXPECT_EQ(report_.description(), u"new");
  EXPECT_EQ(report_.image_index(), 3);
  EXPECT_EQ(report_.maintenance_type(), Report_mt);
  EXPECT_EQ(report_.report_group_id(), u"as it was");
  EXPECT_EQ(report_.title(), u"as it was");
}

TEST_F(RefreshReport, StopsAtAnImageBeyond16Bits) {
  EXPECT_FALSE(load_values("ReportName, ImageIndex", "'Sales', 32768"));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 6, u"Overflow"));
}

TEST_F(RefreshReport, StopsAtADateThatIsNone) {
  EXPECT_FALSE(load_values("ReportName, Created", "'Sales', 'yesterday'"));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 13, u"Type mismatch"));
}

TEST_F(RefreshReport, StopsAtFieldDefinitionsThatAreNoBytes) {
  EXPECT_FALSE(load_values("ReportName, TTX_Binary", "'Sales', 7"));
  EXPECT_EQ(number(), 13);
}

TEST_F(RefreshReport, StopsAtAMissingColumn) {
  EXPECT_FALSE(load_from(u"Select ReportName, Author, Created From DW_Reports"));
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
}

TEST_F(RefreshReport, StopsWithoutACurrentRow) {
  EXPECT_FALSE(load_from(u"Select * From DW_Reports Where ReportName = 'Nothing'"));
  EXPECT_EQ(message(),
            account(u"General", u"RefreshReport", 3021,
                    u"Either BOF or EOF is True, or the current record has been deleted. Requested "
                    u"operation requires a current record."));
}

TEST_F(RefreshReport, RefusesAMissingRecordsetInTheWordsOfTheComponents) {
  EXPECT_FALSE(refresh_report(state(), &report_, nullptr));
  EXPECT_EQ(message(), raised(u"Invalid recordset passed to RefreshComponent routine!", u"General",
                              u"RefreshReport"));
  EXPECT_EQ(number(), -2147221504);
}

TEST_F(RefreshReport, RefusesAMissingReportInTheWordsOfTheComponents) {
  ado::Recordset rows;
  EXPECT_FALSE(refresh_report(state(), nullptr, &rows));
  EXPECT_EQ(message(), raised(u"Invalid component passed to RefreshComponent routine!", u"General",
                              u"RefreshReport"));
}

TEST_F(RefreshReport, ChecksTheRecordsetBeforeTheReport) {
  EXPECT_FALSE(refresh_report(state(), nullptr, nullptr));
  EXPECT_THAT(to_utf8(message()), HasSubstr("Invalid recordset passed"));
}

TEST_F(RefreshReport, ReadsTheCatalogsStatement) {
  EXPECT_TRUE(load_from(report_list()));
  EXPECT_EQ(report_.name(), u"Sales");
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(
          u"Open client static optimistic: Select ReportName, Title, Author, Created, Version, "
          u"RptGrpID, ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, "
          u"RowVersion, TTX_Binary, Definition  From  DW_Reports  Order By ReportName",
          u"Execute SET LOCK_TIMEOUT 2000"));
}

}  // namespace
}  // namespace tarnwick
