#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/ado/fake_engine.h"
#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;
using ::testing::ElementsAre;
using ::testing::EndsWith;

class ReportRefresh : public test_support::ReportTest {};

TEST_F(ReportRefresh, FailsAsItsConditionStandsBehindTheOrdering) {
  const auto sales = report(u"Sales");
  sales->set_title(u"kept");
  EXPECT_FALSE(sales->refresh());
  EXPECT_EQ(sales->title(), u"kept");
  EXPECT_TRUE(sales->changed());
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(
          u"Open client static optimistic: Select ReportName, Title, Author, Created, Version, "
          u"RptGrpID, ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, "
          u"RowVersion, TTX_Binary, Definition  From  DW_Reports  Order By ReportName Where "
          u"ReportName = 'Sales'"));
  EXPECT_EQ(message(),
            account(u"General", u"GetRecordset", -2147217900, u"near \"Where\": syntax error"));
  EXPECT_EQ(number(), -2147217900);
}

TEST_F(ReportRefresh, FailsWithoutANameToo) {
  EXPECT_FALSE(Report(state()).refresh());
  EXPECT_THAT(to_utf8(process_.trace().at(0)), EndsWith(" Where ReportName = ''"));
}

TEST_F(ReportRefresh, LeavesALockAlone) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  EXPECT_FALSE(sales->refresh());
  EXPECT_TRUE(sales->locked());
  EXPECT_TRUE(state().connection->in_transaction());
}

/// Reports over an engine that takes any statement, and fails where it is told to.
class ReportOverAnEngineInMemory : public ::testing::Test {
 protected:
  void SetUp() override {
    engine_.columns.clear();
    for (const TextView name :
         {u"ReportName", u"Title", u"Author", u"Created", u"Version", u"RptGrpID", u"ImageIndex",
          u"SQLStmnt", u"ReportType", u"ReportDesc", u"MaintType", u"SoftLock", u"RowVersion",
          u"Definition", u"TTX_Binary", u"Report_Binary"}) {
      engine_.columns.push_back({Text(name)});
    }
    engine_.rows.push_back(std::vector<Variant>(engine_.columns.size(), Null{}));
    engine_.rows[0][0] = Text(u"Sales");
    engine_.rows[0][1] = Text(u"Stored");
    ASSERT_TRUE(server_.set_connection(u"Provider=Fake", u"role", u"password"));
    engine_.calls.clear();
    report_.set_name(u"Sales");
    report_.set_title(u"Mine");
  }

  const Text& message() { return state_.errors.message(); }

  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  ado::FakeEngine engine_;
  SharedState state_{host_, {&engine_}};
  Server server_{state_};
  Report report_{state_};
};

TEST_F(ReportOverAnEngineInMemory, IsRefreshedWhereTheStatementIsTaken) {
  EXPECT_TRUE(report_.refresh());
  EXPECT_EQ(report_.title(), u"Stored");
  EXPECT_FALSE(report_.changed());
}

TEST_F(ReportOverAnEngineInMemory, IsNotRefreshedWhereTheRowIsGone) {
  engine_.rows.clear();
  EXPECT_FALSE(report_.refresh());
  EXPECT_EQ(report_.title(), u"Mine");
  EXPECT_EQ(message(),
            account(u"Report", u"Refresh", 3021,
                    u"Either BOF or EOF is True, or the current record has been deleted. Requested "
                    u"operation requires a current record."));
}

TEST_F(ReportOverAnEngineInMemory, IsRolledBackWhenTheCommitIsRefused) {
  engine_.fail("commit", ado::AdoErrorNumber::kUnspecified);
  EXPECT_EQ(report_.update(), Error_ue);
  EXPECT_EQ(message(), raised(u"Unable to update, record is locked!\r\nUnable to update the report "
                              u"'Sales' in the DW_Reports table!",
                              u"Report", u"Update"));
  EXPECT_EQ(state_.errors.number(), -2147221504);
  EXPECT_EQ(std::ranges::count(engine_.calls, "rollback"), 1);
  EXPECT_FALSE(state_.connection->in_transaction());
  EXPECT_TRUE(report_.locked());
  EXPECT_TRUE(report_.changed());
  EXPECT_TRUE(report_.release_record());
  EXPECT_FALSE(report_.locked());
  EXPECT_EQ(std::ranges::count(engine_.calls, "rollback"), 1) << "there is nothing to roll back";
}

TEST_F(ReportOverAnEngineInMemory, CanBeWrittenAgainAfterARefusedCommit) {
  engine_.fail("commit", ado::AdoErrorNumber::kUnspecified);
  ASSERT_EQ(report_.update(), Error_ue);
  engine_.failures.clear();
  engine_.calls.clear();
  EXPECT_EQ(report_.update(), OK_ue) << to_display_utf8(message());
  EXPECT_EQ(engine_.calls.front(), "begin") << "the row is fetched anew";
  EXPECT_FALSE(report_.locked());
}

TEST_F(ReportOverAnEngineInMemory, IsUnlockedByTheLossOfItsConnection) {
  engine_.lose_connection_at("commit");
  EXPECT_EQ(report_.update(), Error_ue);
  EXPECT_FALSE(report_.locked());
  EXPECT_FALSE(report_.release_record());
  EXPECT_FALSE(state_.connected());
}

TEST_F(ReportOverAnEngineInMemory, AsksNobodyWhenTheConnectionIsLostAtItsFetch) {
  engine_.lose_connection_at("open");
  EXPECT_EQ(report_.update(), Error_ue);
  EXPECT_TRUE(host_.box.questions.empty());
  EXPECT_EQ(
      message(),
      join({account(u"General", u"UpdateRead", -2147467259, u"gone"),
            account(u"Report", u"Update", 91, u"Object variable or With block variable not set")}));
}

}  // namespace
}  // namespace tarnwick
