#include "records/record_lock.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordLocks : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
  }

  /// Fetches the row and keeps it, as an object does whose row could be loaded.
  static FetchOutcome hold_row(RecordLock& lock, TextView name = u"Sales") {
    RecordLock::Fetch fetch(lock, name, TableSelector::kReports);
    if (fetch.outcome() == FetchOutcome::kFound) fetch.hold();
    return fetch.outcome();
  }

  /// What another process is told that wants the row and waits for nothing.
  FetchOutcome outcome_for_another() {
    ServerProcess other(database_);
    EXPECT_TRUE(other.connect());
    other.host.box.will_answer(Answer::kCancel);
    return update_read(other.state, u"Sales", TableSelector::kReports).outcome;
  }
};

TEST_F(RecordLocks, BeginUnlockedWithoutARecordset) {
  RecordLock lock(state());
  EXPECT_FALSE(lock.locked());
  EXPECT_FALSE(lock.holds_row());
  EXPECT_EQ(lock.recordset(), nullptr);
  EXPECT_TRUE(lock.release());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(RecordLocks, AreNotLockedByTheFetchAlone) {
  RecordLock lock(state());
  RecordLock::Fetch fetch(lock, u"Sales", TableSelector::kReports);
  EXPECT_EQ(fetch.outcome(), FetchOutcome::kFound);
  EXPECT_FALSE(lock.locked());
  fetch.hold();
  EXPECT_TRUE(lock.locked());
  EXPECT_TRUE(lock.holds_row());
}

TEST_F(RecordLocks, GiveTheRowBackByARollback) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kCancelled);
  (void)process_.trace();
  EXPECT_TRUE(lock.release());
  EXPECT_FALSE(lock.locked());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kFound);
  EXPECT_EQ(database_.value("SELECT SoftLock FROM DW_Reports"), "NULL");
}

TEST_F(RecordLocks, RollBackWhenTheyVanishWithTheRow) {
  {
    RecordLock lock(state());
    ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
    (void)process_.trace();
  }
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kFound);
}

TEST_F(RecordLocks, GiveBackWithTheFetchWhatWasNotHeld) {
  RecordLock lock(state());
  for (const TextView name : {TextView(u"Sales"), TextView(u"Nothing")}) {
    { const RecordLock::Fetch fetch(lock, name, TableSelector::kReports); }
    EXPECT_EQ(process_.trace().back(), u"Rollback");
    EXPECT_FALSE(state().connection->in_transaction());
    EXPECT_NE(lock.recordset(), nullptr);
    EXPECT_FALSE(lock.locked());
  }
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kFound);
}

TEST_F(RecordLocks, LeaveTheTransactionAloneThatCameAfterTheirs) {
  auto first = std::make_unique<RecordLock>(state());
  ASSERT_EQ(hold_row(*first), FetchOutcome::kFound);
  state().connection->rollback_trans();
  RecordLock second(state());
  ASSERT_EQ(hold_row(second), FetchOutcome::kFound);
  (void)process_.trace();
  EXPECT_TRUE(first->release());
  first.reset();
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_TRUE(second.holds_row());
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kCancelled);
}

TEST_F(RecordLocks, StayLockedButHoldNoRowAfterAnotherEndedTheTransaction) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  state().connection->rollback_trans();
  EXPECT_TRUE(lock.locked());
  EXPECT_FALSE(lock.holds_row());
  (void)process_.trace();
  EXPECT_TRUE(lock.release());
  EXPECT_FALSE(lock.locked());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(RecordLocks, EndWithTheirConnection) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  state().connection->rollback_trans();
  state().connection->close();
  EXPECT_FALSE(lock.locked());
  EXPECT_TRUE(lock.release());
}

TEST_F(RecordLocks, OutliveTheLastServerAndGiveTheRowBackThen) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  process_.server.reset();
  EXPECT_EQ(state().connection, nullptr);
  EXPECT_TRUE(lock.locked());
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kCancelled);
  (void)process_.trace();
  EXPECT_TRUE(lock.release());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(outcome_for_another(), FetchOutcome::kFound);
}

TEST_F(RecordLocks, AreNotTakenForOnesOfANewConnection) {
  RecordLock old_lock(state());
  ASSERT_EQ(hold_row(old_lock), FetchOutcome::kFound);
  process_.server.reset();
  process_.server = std::make_unique<Server>(state());
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Stock')");
  ASSERT_TRUE(process_.connect());
  RecordLock new_lock(state());
  ASSERT_EQ(hold_row(new_lock, u"Stock"), FetchOutcome::kFound);
  EXPECT_TRUE(old_lock.release());
  EXPECT_TRUE(new_lock.holds_row());
  EXPECT_TRUE(state().connection->in_transaction());
}

TEST_F(RecordLocks, FinishByDroppingTheRecordset) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  ASSERT_TRUE(update_write(state(), *lock.recordset()));
  lock.finish();
  EXPECT_FALSE(lock.locked());
  EXPECT_EQ(lock.recordset(), nullptr);
}

TEST_F(RecordLocks, KeepNoRecordsetOfAFetchThatFailed) {
  RecordLock lock(state());
  ASSERT_EQ(hold_row(lock), FetchOutcome::kFound);
  const RecordLock::Fetch fetch(lock, u"no key of a PC", TableSelector::kPcs);
  EXPECT_EQ(fetch.outcome(), FetchOutcome::kFailed);
  EXPECT_EQ(lock.recordset(), nullptr);
  EXPECT_FALSE(lock.holds_row());
}

}  // namespace
}  // namespace tarnwick
