#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/row_fetch.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::locked_box;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kRow = u"Select * From DW_Reports Where ReportName = 'Sales'";

/// `process_` wants the row that `other_` maintains.
class LockedRow : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    ASSERT_TRUE(other_.connect());
    theirs_ = update_read(other_.state, u"Sales", TableSelector::kReports);
    ASSERT_EQ(theirs_.outcome, FetchOutcome::kFound);
  }

  FetchedRow fetch() { return update_read(state(), u"Sales", TableSelector::kReports); }

  void commit_theirs() {
    theirs_.recordset->field(u"Title").set_value(Text(u"Theirs"));
    ASSERT_TRUE(update_write(other_.state, *theirs_.recordset));
  }

  const Text open_ = join({u"Open server dynamic pessimistic: ", kRow});
  const Text look_ = join({u"Open server forward-only read-only: ", kRow});
  ServerProcess other_{database_};
  FetchedRow theirs_;
};

TEST_F(LockedRow, IsAskedAboutAndGivenUpOnCancel) {
  process_.host.box.will_answer(Answer::kCancel);
  const FetchedRow fetched = fetch();
  EXPECT_EQ(fetched.outcome, FetchOutcome::kCancelled);
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", open_, u"Rollback", look_));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(LockedRow, IsObtainedByRetryAfterTheOtherWrote) {
  process_.host.box.will_answer(Answer::kRetry, [&] { commit_theirs(); });
  const FetchedRow fetched = fetch();
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFound);
  EXPECT_EQ(to_text(fetched.recordset->field(u"Title").value()), u"Theirs");
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", open_, u"Rollback", look_, u"Begin", open_,
                                            u"Update SoftLock"));
}

TEST_F(LockedRow, IsObtainedByRetryAfterTheOtherGaveItBack) {
  process_.host.box.will_answer(Answer::kRetry, [&] { update_release(*theirs_.recordset); });
  const FetchedRow fetched = fetch();
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFound);
  EXPECT_EQ(to_text(fetched.recordset->field(u"Title").value()), u"Old");
}

TEST_F(LockedRow, IsAskedAboutAgainAtEachRetryThatFindsItLocked) {
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kRetry, [&] { commit_theirs(); });
  EXPECT_EQ(fetch().outcome, FetchOutcome::kFound);
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box(), locked_box(), locked_box()));
}

TEST_F(LockedRow, CountsTheRetriesOfEachFetchByItself) {
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kRetry, [&] { commit_theirs(); });
  const FetchedRow fetched = fetch();
  ASSERT_EQ(fetched.outcome, FetchOutcome::kFound);
  update_release(*fetched.recordset);
  theirs_ = update_read(other_.state, u"Sales", TableSelector::kReports);
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(fetch().outcome, FetchOutcome::kCancelled);
  EXPECT_THAT(process_.host.box.retried, ElementsAre(0u, 1u, 0u, 1u));
}

TEST_F(LockedRow, CanBeGivenUpAfterARetry) {
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(fetch().outcome, FetchOutcome::kCancelled);
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(LockedRow, IsMissingWhenTheOtherDeletedItBeforeTheRetry) {
  process_.host.box.will_answer(Answer::kRetry, [&] {
    update_release(*theirs_.recordset);
    database_.run("DELETE FROM DW_Reports");
  });
  EXPECT_EQ(fetch().outcome, FetchOutcome::kMissing);
  EXPECT_EQ(message(), join({u"No Record found for ID: Sales SQL=", kRow}));
}

TEST_F(LockedRow, IsTriedAgainWithoutAQuestionWhenItWasGivenBackBetweenTheTwoOpens) {
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Rollback") update_release(*theirs_.recordset);
  };
  EXPECT_EQ(fetch().outcome, FetchOutcome::kFound);
  process_.recorder.before_step = {};
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", open_, u"Rollback", look_, u"Begin", open_,
                                            u"Update SoftLock"));
}

TEST_F(LockedRow, DoesNotKeepOtherRowsFromBeingMaintained) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Stock')");
  const FetchedRow mine = update_read(state(), u"Stock", TableSelector::kReports);
  EXPECT_EQ(mine.outcome, FetchOutcome::kFound);
  mine.recordset->field(u"Title").set_value(Text(u"Mine"));
  EXPECT_TRUE(update_write(state(), *mine.recordset));
  commit_theirs();
  EXPECT_THAT(database_.run("SELECT ReportName, Title FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Sales", "Theirs"), ElementsAre("Stock", "Mine")));
}

TEST_F(LockedRow, IsFreeOnceTheOthersConnectionIsGone) {
  other_.server.reset();
  theirs_.recordset.reset();
  EXPECT_EQ(fetch().outcome, FetchOutcome::kFound);
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
}

TEST_F(LockedRow, IsNamedWithItsHoldersStampAmongTheHeldRows) {
  const std::vector<ado::HeldRow> rows = state().connection->held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].table, u"DW_Reports");
  EXPECT_EQ(rows[0].key, u"Sales");
  EXPECT_EQ(rows[0].stamp, u"DESK-1 - 12/24/2023 6:05:09 PM");
}

}  // namespace
}  // namespace tarnwick
