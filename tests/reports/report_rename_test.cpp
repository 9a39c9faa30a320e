#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::ServerProcess;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class ReportRename : public test_support::ReportTest {
 protected:
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (const auto& row : database_.run("SELECT ReportName FROM DW_Reports ORDER BY 1")) {
      names.push_back(row.front());
    }
    return names;
  }
  [[nodiscard]] bool ran_a_delete() {
    for (const Text& line : process_.trace()) {
      if (line.starts_with(u"Execute Delete")) return true;
    }
    return false;
  }
};

TEST_F(ReportRename, WritesTheNewRowAndDeletesTheOldOne) {
  const auto sales = report(u"Sales");
  sales->set_name(u"Sales2");
  EXPECT_EQ(sales->update(), OK_ue);
  const Text open =
      u"Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = 'Sales2'";
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", open, u"Rollback",
                          u"Open server forward-only read-only: Select * From DW_Reports Where "
                          u"ReportName = 'Sales2'",
                          u"Begin", open,
                          u"Insert ReportName, Title, Author, Created, Version, RptGrpID, "
                          u"ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, "
                          u"Definition, TTX_Binary",
                          u"Commit", u"Execute Delete from DW_Report Where ReportName = 'Sales'"));
  EXPECT_THAT(names(), ElementsAre("Sales2", "Stock"));
  EXPECT_THAT(database_.run("SELECT Title, TTX_Binary, Report_Binary FROM DW_Reports"
                            "  WHERE ReportName = 'Sales2'"),
              ElementsAre(ElementsAre("Title", "E92E", "NULL")))
      << "the report file is never in the object";
}

TEST_F(ReportRename, OfALockedReportWritesThroughTheRowItHolds) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  sales->set_name(u"Sales2");
  (void)process_.trace();
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Update ReportName, Title, Author, Created, Version, RptGrpID, "
                          u"ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, "
                          u"Definition, TTX_Binary",
                          u"Commit", u"Execute Delete from DW_Report Where ReportName = 'Sales'"));
  EXPECT_THAT(database_.run("SELECT ReportName, Report_Binary FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Sales2", "00FF0D0A"), ElementsAre("Stock", "NULL")));
}

TEST_F(ReportRename, ToAnotherLetterCaseStaysOneRow) {
  const auto sales = report(u"Sales");
  sales->set_name(u"SALES");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_FALSE(ran_a_delete());
  EXPECT_THAT(database_.run("SELECT ReportName, Report_Binary FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("SALES", "00FF0D0A"), ElementsAre("Stock", "NULL")));
}

TEST_F(ReportRename, ToAnotherCaseOfAnAccentedLetterStaysOneRow) {
  database_.run("UPDATE DW_Reports SET ReportName = 'Übersicht' WHERE ReportName = 'Sales'");
  load();
  const auto overview = report(u"Übersicht");
  Report other(state());
  other.set_name(u"übersicht");
  EXPECT_EQ(other.look().outcome, LookOutcome::kLoaded);
  EXPECT_EQ(other.name(), u"Übersicht");
  overview->set_name(u"übersicht");
  EXPECT_EQ(overview->update(), OK_ue) << to_display_utf8(message());
  EXPECT_FALSE(ran_a_delete());
  EXPECT_THAT(database_.run("SELECT ReportName, Report_Binary FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Stock", "NULL"), ElementsAre("übersicht", "00FF0D0A")));
  EXPECT_TRUE(reports().refresh()) << to_display_utf8(message());
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(report(u"ÜBERSICHT")->name(), u"übersicht");
}

TEST_F(ReportRename, ToAnotherCaseOfAnAccentedLetterMeetsWhoHoldsTheRow) {
  database_.run("UPDATE DW_Reports SET ReportName = 'Übersicht' WHERE ReportName = 'Sales'");
  load();
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->reports()->refresh());
  ASSERT_TRUE(other.server->reports()->item(Text(u"Übersicht"))->lock_record());
  process_.host.box.will_answer(platform::Answer::kCancel);
  const auto overview = report(u"Übersicht");
  overview->set_name(u"übersicht");
  EXPECT_NE(overview->update(), OK_ue);
  EXPECT_THAT(names(), ElementsAre("Stock", "Übersicht"));
}

TEST_F(ReportRename, IsMeasuredByTheFirstName) {
  const auto sales = report(u"Sales");
  sales->set_name(u"Second");
  sales->set_name(u"Third");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              Contains(u"Execute Delete from DW_Report Where ReportName = 'Sales'"));
  EXPECT_THAT(names(), ElementsAre("Stock", "Third"));
}

TEST_F(ReportRename, BackToTheFirstNameDeletesNothing) {
  const auto sales = report(u"Sales");
  sales->set_name(u"Second");
  sales->set_name(u"Sales");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_FALSE(ran_a_delete());
}

TEST_F(ReportRename, OfANewReportBeforeItsFirstUpdateRunsTheDeleteForNothing) {
  Report fresh(state());
  fresh.set_name(u"First");
  fresh.set_name(u"Second");
  EXPECT_EQ(fresh.update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              Contains(u"Execute Delete from DW_Report Where ReportName = 'First'"));
  EXPECT_THAT(names(), ElementsAre("Sales", "Second", "Stock"));
}

TEST_F(ReportRename, OfANewReportDeletesNothingWhenItIsGivenItsNameOnce) {
  Report fresh(state());
  fresh.set_name(u"");
  fresh.set_name(u"First");
  EXPECT_EQ(fresh.update(), OK_ue);
  EXPECT_FALSE(ran_a_delete());
}

TEST_F(ReportRename, ToANameThatIsTakenIsRefusedAsAChangedRow) {
  const auto before = table();
  const auto sales = report(u"Sales");
  sales->set_name(u"Stock");
  EXPECT_EQ(sales->update(), RecordChanged_ue);
  EXPECT_THAT(to_utf8(message()),
              StartsWith("The data for 'Stock' has changed since it was originally read!"));
  EXPECT_TRUE(sales->release_record());
  EXPECT_EQ(table(), before);
}

TEST_F(ReportRename, LeavesTheEntryOfTheCollectionUnderItsOldKey) {
  const auto sales = report(u"Sales");
  sales->set_name(u"Sales2");
  ASSERT_EQ(sales->update(), OK_ue);
  EXPECT_TRUE(reports().exists(u"Sales"));
  EXPECT_FALSE(reports().exists(u"Sales2"));
  EXPECT_EQ(sales->key(), u"Sales2");
}

TEST_F(ReportRename, FromANameWithAQuoteWritesTheNewRowAndFailsToDeleteTheOldOne) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('O''Hara')");
  load();
  const auto quoted = report(u"O'Hara");
  ASSERT_NE(quoted, nullptr);
  quoted->set_name(u"OHara");
  EXPECT_EQ(quoted->update(), Error_ue);
  EXPECT_EQ(number(), -2147217900);
  EXPECT_THAT(names(), ElementsAre("O'Hara", "OHara", "Sales", "Stock"));
  EXPECT_TRUE(quoted->locked()) << "the row was written, but the update did not come to its end";
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_TRUE(quoted->release_record());
}

TEST_F(ReportRename, IsNotUndoneWhenAnotherProcessHoldsTheOldRow) {
  test_support::ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  Report theirs(other.state);
  theirs.set_name(u"Sales");
  ASSERT_TRUE(theirs.lock_record());

  const auto sales = report(u"Sales");
  sales->set_name(u"Sales2");
  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_EQ(message(),
            join({u"No Record found for ID: Sales2 SQL=Select * From DW_Reports Where ReportName = "
                  u"'Sales2'",
                  account(u"Report", u"Update", -2147467259,
                          u"Lock request time out period exceeded.")}));
  EXPECT_THAT(names(), ElementsAre("Sales", "Sales2", "Stock"));
}

}  // namespace
}  // namespace tarnwick
