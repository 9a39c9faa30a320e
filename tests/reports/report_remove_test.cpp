#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kDeleteSales = u"Execute Delete from dbo.DW_Reports Where ReportName = 'Sales'";

class ReportDelete : public test_support::ReportTest {};

TEST_F(ReportDelete, TakesTheReportOutOfTableAndCollection) {
  EXPECT_TRUE(report(u"Sales")->remove());
  EXPECT_THAT(process_.trace(), ElementsAre(kDeleteSales));
  EXPECT_THAT(database_.run("SELECT ReportName FROM DW_Reports"),
              ElementsAre(ElementsAre("Stock")));
  EXPECT_FALSE(reports().exists(u"Sales"));
  EXPECT_EQ(reports().count(), 1);
  EXPECT_EQ(message(), u"");
}

TEST_F(ReportDelete, GivesALockedRowBackFirst) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(sales->remove());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback", kDeleteSales));
  EXPECT_FALSE(sales->locked());
  EXPECT_EQ(stored("Title"), "(no row)");
}

TEST_F(ReportDelete, DoesNothingWithoutAName) {
  Report nameless(state());
  EXPECT_TRUE(nameless.remove());
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(reports().count(), 2);
}

TEST_F(ReportDelete, LeavesTheObjectAsItIs) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->remove());
  EXPECT_EQ(sales->name(), u"Sales");
  EXPECT_EQ(sales->title(), u"Title");
  EXPECT_FALSE(sales->changed());
}

TEST_F(ReportDelete, TakesAReportOutOfTheCollectionThatIsNotInTheTable) {
  database_.run("DELETE FROM DW_Reports");
  EXPECT_TRUE(report(u"Sales")->remove());
  EXPECT_FALSE(reports().exists(u"Sales"));
}

TEST_F(ReportDelete, OfAReportOutsideTheCollectionDeletesTheRowAndIsFalse) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('New')");
  Report outside(state());
  outside.set_name(u"New");
  EXPECT_FALSE(outside.remove());
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "2");
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportDelete, TakesTheEntryUnderTheNameThatTheObjectHasNow) {
  const auto sales = report(u"Sales");
  sales->set_name(u"Stock");
  EXPECT_TRUE(sales->remove());
  EXPECT_TRUE(reports().exists(u"Sales"));
  EXPECT_FALSE(reports().exists(u"Stock"));
  EXPECT_EQ(stored("Title"), "Title");
}

TEST_F(ReportDelete, StoresNoMessageWhenTheStatementIsMalformed) {
  Report quoted(state());
  quoted.set_name(u"O'Hara");
  EXPECT_FALSE(quoted.remove());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportDelete, OfARowThatAnotherProcessHoldsChangesNothing) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  Report theirs(other.state);
  theirs.set_name(u"Sales");
  ASSERT_TRUE(theirs.lock_record());
  EXPECT_FALSE(report(u"Sales")->remove());
  EXPECT_THAT(process_.trace(), ElementsAre(kDeleteSales));
  EXPECT_EQ(stored("Title"), "Title");
  EXPECT_TRUE(reports().exists(u"Sales"));
  EXPECT_EQ(message(), u"");
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
}

TEST_F(ReportDelete, FailsWithoutAConnection) {
  const auto sales = report(u"Sales");
  state().connection.reset();
  EXPECT_FALSE(sales->remove());
  EXPECT_TRUE(reports().exists(u"Sales"));
  EXPECT_EQ(message(), u"");
}

}  // namespace
}  // namespace tarnwick
