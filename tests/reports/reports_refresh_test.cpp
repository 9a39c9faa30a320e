#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"
#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr TextView kCatalog =
    u"Open client static optimistic: Select ReportName, Title, Author, Created, Version, RptGrpID, "
    u"ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, RowVersion, TTX_Binary, "
    u"Definition  From  DW_Reports  Order By ReportName";

/// What a load that stopped leaves, as the component by whose name clients know it.
Text stopped_at(TextView field, TextView report, std::int32_t number, TextView description) {
  return join({u"\r\nError in Component: 'RegisteredPCs', Proceedure: 'Refresh'.\r\nField :     \t",
               field, u"\r\nRegRptName :\t", report, u"\r\nError #:    \t", decimal(number),
               u"\r\nDescription:\t", description});
}

class ReportsRefresh : public test_support::ReportTest {
 protected:
  std::vector<std::string> names() {
    std::vector<std::string> names;
    auto walk = reports().new_enum();
    while (const auto report = walk.next()) names.push_back(to_utf8(report->name()));
    return names;
  }

  [[nodiscard]] std::filesystem::path ttx_file() const {
    return process_.host.payload_folder / "TTX.bin";
  }
  /// The field definitions of all reports in their order, "-" for none.
  std::string ttx_of_all() {
    std::string all;
    auto walk = reports().new_enum();
    while (const auto report = walk.next()) {
      all += (all.empty() ? "" : " ") + (report->ttx().empty() ? "-" : to_utf8(report->ttx()));
    }
    return all;
  }

  void insert_three() {
    database_.run(
        "DELETE FROM DW_Reports; INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES"
        " ('a', CAST('first' AS BLOB)), ('b', CAST('next' AS BLOB)), ('c', CAST('last' AS BLOB))");
  }
  /// The folder is gone once it was asked for that often.
  void lose_folder_after(int times) {
    process_.host.before_folder = [this, times] {
      if (++asked_ > times) process_.host.payload_folder = files_.path() / "missing";
    };
  }
  [[nodiscard]] Text no_folder() const {
    return account(u"General", u"RefreshReport", 3004,
                   join({u"Write to file failed. '", path("missing/TTX.bin"),
                         u"': No such file or directory."}));
  }

  int asked_ = 0;
};

TEST_F(ReportsRefresh, ReadsTheCatalogByName) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('audit'), ('Zebra'), ('Budget')");
  EXPECT_TRUE(reports().refresh());
  EXPECT_THAT(names(), ElementsAre("audit", "Budget", "Sales", "Stock", "Zebra"));
  EXPECT_EQ(reports().item(std::int32_t{1})->name(), u"audit");
  EXPECT_THAT(process_.trace(), ElementsAre(kCatalog, u"Execute SET LOCK_TIMEOUT 2000"));
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportsRefresh, LoadsEveryReportUnchangedWithItsFieldDefinitions) {
  EXPECT_EQ(report(u"Sales")->ttx(), u"\u00E9.");
  EXPECT_EQ(report(u"Stock")->ttx(), u"") << "those of the report before it are not its own";
  EXPECT_FALSE(reports().changed());
  EXPECT_EQ(content_of(process_.host.payload_folder / "TTX.bin"), "\xE9.");
}

TEST_F(ReportsRefresh, MakesANewListOfNewObjects) {
  const auto old = report(u"Sales");
  old->set_title(u"never written");
  EXPECT_TRUE(reports().refresh());
  EXPECT_NE(report(u"Sales"), old);
  EXPECT_EQ(report(u"Sales")->title(), u"Title");
  EXPECT_EQ(old->title(), u"never written");
}

TEST_F(ReportsRefresh, DropsWhatWasAddedInMemory) {
  NewReport values;
  values.report_name = u"New";
  ASSERT_NE(reports().add(values), nullptr);
  EXPECT_TRUE(reports().refresh());
  EXPECT_FALSE(reports().exists(u"New"));
}

TEST_F(ReportsRefresh, OfAnEmptyTableLeavesAnEmptyList) {
  database_.run("DELETE FROM DW_Reports");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(reports().count(), 0);
  EXPECT_FALSE(reports().initialized());
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportsRefresh, IsTrueAndKeepsTheListWhenTheTableCannotBeRead) {
  database_.run("DROP TABLE DW_Reports");
  const auto sales = report(u"Sales");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(report(u"Sales"), sales);
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(message(),
            account(u"General", u"GetRecordset", -2147217900, u"no such table: DW_Reports"));
}

TEST_F(ReportsRefresh, IsTrueAndKeepsTheListWhenAColumnIsMissing) {
  database_.run("DROP VIEW DW_Report; ALTER TABLE DW_Reports DROP COLUMN Author");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(message(),
            account(u"General", u"GetRecordset", -2147217900, u"no such column: Author"));
}

TEST_F(ReportsRefresh, IsTrueAndKeepsTheListWithoutAConnection) {
  state().connection.reset();
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(number(), 3709);
}

TEST_F(ReportsRefresh, IsTrueAndKeepsTheListWhileAnotherProcessHoldsARow) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  Report theirs(other.state);
  theirs.set_name(u"Sales");
  ASSERT_TRUE(theirs.lock_record());
  const auto stock = report(u"Stock");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(report(u"Stock"), stock);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", -2147467259,
                               u"Lock request time out period exceeded."));
  EXPECT_TRUE(process_.host.box.questions.empty());
}

TEST_F(ReportsRefresh, StopsAtANullName) {
  make_table_without_rules();
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Stock'), (NULL)");
  EXPECT_FALSE(reports().refresh());
  EXPECT_EQ(message(), stopped_at(u"ReportName", u"", 94, u"Invalid use of Null"));
  EXPECT_EQ(number(), 94);
  EXPECT_EQ(reports().count(), 0) << "nulls come first";
}

TEST_F(ReportsRefresh, StopsAtTwoNamesThatDifferInCaseAndKeepsThoseBefore) {
  make_table_without_rules();
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Audit', 'a'), ('SALES', 'b'),"
      "  ('Sales', 'c'), ('Stock', 'd')");
  EXPECT_FALSE(reports().refresh());
  EXPECT_EQ(message(),
            stopped_at(u"ReportName", u"Sales", 457,
                       u"This key is already associated with an element of this collection"));
  EXPECT_THAT(names(), ElementsAre("Audit", "SALES"));
}

TEST_F(ReportsRefresh, PutsItsAccountBehindThePendingMessage) {
  make_table_without_rules();
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES (NULL)");
  state().errors.set_message(u"pending");
  EXPECT_FALSE(reports().refresh());
  EXPECT_EQ(message(),
            join({u"pending", stopped_at(u"ReportName", u"", 94, u"Invalid use of Null")}));
}

TEST_F(ReportsRefresh, ListsAReportTooOfWhichAColumnCannotBeLoaded) {
  make_table_without_rules();
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Author, ImageIndex, Title) VALUES"
      "  ('Sales', 'Author', 'eleven', 'never loaded'), ('Stock', '', 1, 'Title')");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(message(), account(u"General", u"RefreshReport", 13, u"Type mismatch"));
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(report(u"Sales")->author(), u"Author");
  EXPECT_EQ(report(u"Sales")->image_index(), 11);
  EXPECT_EQ(report(u"Sales")->title(), u"");
  EXPECT_TRUE(report(u"Sales")->changed());
  EXPECT_EQ(report(u"Stock")->title(), u"Title");
}

TEST_F(ReportsRefresh, ReadsBytesInAColumnOfTextsAsTheirTextAndTheFieldDefinitionsWithThem) {
  database_.run("DELETE FROM DW_Reports");
  database_.run(
      "INSERT INTO DW_Reports (ReportName, TTX_Binary, Author) VALUES"
      "  ('Sales', x'610962', 'a'), ('Stock', x'630964', x'41004200')");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(report(u"Stock")->author(), u"AB");
  EXPECT_EQ(report(u"Stock")->ttx(), u"c\td");
  EXPECT_EQ(report(u"Sales")->ttx(), u"a\tb");
}

TEST_F(ReportsRefresh, ListsReportsWhoseFieldDefinitionsHaveNoFolderToGoThrough) {
  process_.host.payload_folder = files_.path() / "missing";
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(reports().count(), 2);
  EXPECT_THAT(to_utf8(message()), HasSubstr("Write to file failed."));
}

TEST_F(ReportsRefresh, LeavesTheLastFieldDefinitionsInTheFileWhateverTheirLength) {
  database_.run(
      "DELETE FROM DW_Reports; INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES"
      " ('a', X'74776F'), ('b', X'6C6F6E676572'), ('c', NULL), ('d', X'656E64'), ('e', NULL)");
  ASSERT_TRUE(reports().refresh());
  EXPECT_EQ(content_of(ttx_file()), "end");
  EXPECT_EQ(ttx_of_all(), "two longer - end -");
  database_.run("UPDATE DW_Reports SET TTX_Binary = X'' WHERE ReportName = 'e'");
  ASSERT_TRUE(reports().refresh());
  EXPECT_EQ(content_of(ttx_file()), "");
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportsRefresh, LeavesThoseOfTheLastReportThatCouldBeLoaded) {
  database_.run(
      "INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES ('Stork', X'616263'), ('Tail', NULL);"
      "UPDATE DW_Reports SET TTX_Binary = 7 WHERE ReportName = 'Tail'");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(content_of(ttx_file()), "abc");
}

TEST_F(ReportsRefresh, LeavesThoseOfTheReportAtWhichItStopped) {
  make_table_without_rules();
  database_.run(
      "INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES"
      " ('A', X'414141'), ('B', X'42'), ('b', X'6262'), ('c', X'63')");
  EXPECT_FALSE(reports().refresh());
  EXPECT_THAT(names(), ElementsAre("A", "B"));
  EXPECT_EQ(content_of(ttx_file()), "bb");
}

TEST_F(ReportsRefresh, GivesEachReportThatHasFieldDefinitionsAnAccountWhereTheFileIsAFolder) {
  insert_three();
  std::filesystem::remove(ttx_file());
  std::filesystem::create_directory(ttx_file());
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(ttx_of_all(), "- - -");
  // Why a folder is no file, each system says in its own words.
  ado::Stream stream;
  stream.open();
  const auto why = test_support::error_description_of(
      [&] { stream.save_to_file(ttx_file(), ado::SaveOption::kCreateOverWrite); });
  ASSERT_TRUE(why);
  const Text failed = account(u"General", u"RefreshReport", 3004, *why);
  EXPECT_EQ(message(), join({failed, failed, failed}));
  EXPECT_TRUE(std::filesystem::is_directory(ttx_file()));
}

TEST_F(ReportsRefresh, FailsTheLastReportWhoseFieldDefinitionsTheFolderDoesNotTakeAnyMore) {
  insert_three();
  lose_folder_after(1);
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(ttx_of_all(), "first next -");
  EXPECT_TRUE(report(u"c")->changed());
  EXPECT_FALSE(report(u"b")->changed());
  EXPECT_EQ(message(), no_folder());
}

TEST_F(ReportsRefresh, FailsAReportInTheMiddleWhoseFieldDefinitionsAreLongerThanTheFileTook) {
  insert_three();
  database_.run("UPDATE DW_Reports SET TTX_Binary = CAST('longer' AS BLOB) WHERE ReportName = 'b'");
  const auto folder = process_.host.payload_folder;
  lose_folder_after(1);
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(ttx_of_all(), "first - -");
  EXPECT_EQ(message(), join({no_folder(), no_folder()}));
  EXPECT_EQ(content_of(folder / "TTX.bin"), "first");
}

TEST_F(ReportsRefresh, LoadsFieldDefinitionsAgainOnceTheFolderIsBack) {
  insert_three();
  const auto folder = process_.host.payload_folder;
  process_.host.payload_folder = files_.path() / "missing";
  int asked = 0;
  process_.host.before_folder = [&] {
    if (++asked == 2) process_.host.payload_folder = folder;
  };
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(ttx_of_all(), "- next last");
  EXPECT_EQ(message(), no_folder());
  EXPECT_EQ(content_of(folder / "TTX.bin"), "last");
}

TEST_F(ReportsRefresh, TakesFieldDefinitionsFromTheirRowsWhateverOthersWriteToTheFile) {
  insert_three();
  process_.host.before_folder = [&] { std::ofstream(ttx_file()) << "another process's"; };
  ASSERT_TRUE(reports().refresh());
  EXPECT_EQ(ttx_of_all(), "first next last");
  EXPECT_EQ(content_of(ttx_file()), "last");
}

TEST_F(ReportsRefresh, LoadsNamesWithQuotesAndOfAnyLength) {
  database_.run(
      "INSERT INTO DW_Reports (ReportName) VALUES ('O''Hara'),"
      "  (printf('%.*c', 100000, 'z'))");
  EXPECT_TRUE(reports().refresh());
  EXPECT_TRUE(reports().exists(u"O'Hara"));
  EXPECT_TRUE(reports().exists(Text(100'000, u'Z')));
}

TEST_F(ReportsRefresh, LoadsAnEmptyName) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('', 'Nameless')");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(reports().count(), 3);
  EXPECT_TRUE(reports().exists(u""));
  EXPECT_FALSE(reports().item(std::int32_t{1})->initialized());
}

TEST_F(ReportsRefresh, DoesNotReadReportFiles) {
  database_.run("UPDATE DW_Reports SET Report_Binary = 'no bytes'");
  EXPECT_TRUE(reports().refresh());
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportsRefresh, IsRunByTheServerAfterTheOthers) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('New')");
  EXPECT_TRUE(process_.server->refresh());
  EXPECT_TRUE(reports().exists(u"New"));
  EXPECT_EQ(process_.trace().at(4), kCatalog);
}

TEST_F(ReportsRefresh, GivesTheServerAPrefixWhenItStops) {
  make_table_without_rules();
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES (NULL)");
  EXPECT_FALSE(process_.server->refresh());
  EXPECT_EQ(message(), join({u"Error while refreshing the Report Records!\r\n",
                             stopped_at(u"ReportName", u"", 94, u"Invalid use of Null")}));
}

}  // namespace
}  // namespace tarnwick
