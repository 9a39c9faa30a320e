#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ado/error.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using ado::FailureKind;
using platform::Answer;
using test_support::ServerProcess;

/// What is done after something failed: nothing that a call left unfinished may swallow it.
class AfterAFailure : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2), (2, 0, 2);"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('AA', 'PC', 1, 5, 1, 10);"
        "INSERT INTO DW_Reports (ReportName, TTX_Binary) VALUES ('Sales', x'41'), ('Stock', NULL)");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    ASSERT_TRUE(process_.server->refresh());
    process_.set_lock_timeout(0);
  }

  std::shared_ptr<Component> component() {
    return process_.server->components()->item(std::int32_t{1});
  }
  std::shared_ptr<RegisteredPC> pc() {
    return process_.server->registered_pcs()->item(std::int32_t{1});
  }
  std::shared_ptr<Report> report(std::int32_t position) {
    return process_.server->reports()->item(position);
  }

  /// Another process, which holds the report Sales.
  struct Holder {
    explicit Holder(const test_support::EmbeddedDatabase& database) : process(database) {
      EXPECT_TRUE(process.connect());
      report.set_name(u"Sales");
      EXPECT_TRUE(report.lock_record());
    }
    ServerProcess process;
    Report report{process.state};
  };

  /// A lock of a row that is gone; its object lives on, as a client may keep it.
  void fail_to_lock() {
    vanished_.set_name(u"Nothing");
    ASSERT_FALSE(vanished_.lock_record());
  }

  [[nodiscard]] bool another_gets(TextView report_name) {
    ServerProcess other(database_);
    EXPECT_TRUE(other.connect());
    other.host.box.will_answer(Answer::kCancel);
    Report theirs(other.state);
    theirs.set_name(Text(report_name));
    return theirs.lock_record();
  }

  std::string count(const std::string& table) {
    return database_.value("SELECT count(*) FROM " + table);
  }

  Report vanished_{state()};
};

TEST_F(AfterAFailure, ADeleteOfEachKindIsForGood) {
  fail_to_lock();
  EXPECT_TRUE(component()->remove());
  EXPECT_TRUE(pc()->remove());
  EXPECT_TRUE(report(1)->remove());
  EXPECT_EQ(count("DW_SEC_COMP"), "1");
  EXPECT_EQ(count("DW_SEC_PC"), "0");
  EXPECT_EQ(count("DW_Reports"), "1");
  // What used to take the deletions back.
  EXPECT_TRUE(report(1)->lock_record());
  process_.server.reset();
  EXPECT_EQ(count("DW_SEC_COMP"), "1");
  EXPECT_EQ(count("DW_SEC_PC"), "0");
  EXPECT_EQ(count("DW_Reports"), "1");
}

TEST_F(AfterAFailure, NoTransactionIsLeftOfALockThatFoundNoRow) {
  fail_to_lock();
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_TRUE(process_.connect()) << "and nothing keeps SetConnection from replacing it";
}

TEST_F(AfterAFailure, NoRowIsHeldByALockWhoseLoadFailed) {
  // The folder of the intermediate file is gone, so that the field definitions cannot be read.
  process_.host.payload_folder /= "none";
  const auto sales = report(1);
  EXPECT_FALSE(sales->lock_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_TRUE(another_gets(u"Sales"));
  EXPECT_EQ(database_.value("SELECT SoftLock FROM DW_Reports WHERE ReportName = 'Sales'"), "NULL");
}

TEST_F(AfterAFailure, NoRowIsHeldByAnUpdateThatWasCancelled) {
  const Holder another(database_);
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(report(1)->update(), Error_ue);
  EXPECT_FALSE(report(1)->locked());
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_TRUE(report(2)->remove());
  process_.server.reset();
  EXPECT_EQ(count("DW_Reports"), "1");
}

TEST_F(AfterAFailure, AnUpdateThatWasRefusedHoldsItsRowUntilItIsReleased) {
  const auto sales = report(1);
  database_.run("UPDATE DW_Reports SET Title = 'New'");
  EXPECT_EQ(sales->update(), RecordChanged_ue);
  EXPECT_TRUE(sales->locked());
  EXPECT_TRUE(state().connection->in_transaction());
  EXPECT_FALSE(another_gets(u"Sales"));
  EXPECT_TRUE(sales->release_record());
  EXPECT_TRUE(another_gets(u"Sales"));
}

TEST_F(AfterAFailure, AReportIsLockedWithoutARowAfterItsCommitWasRefused) {
  test_support::PlainSqlite foreign = database_.open_plainly();
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") foreign.run("BEGIN IMMEDIATE");
  };
  const auto sales = report(1);
  ASSERT_TRUE(sales->lock_record());
  sales->set_title(u"New");
  ASSERT_EQ(sales->update(), Error_ue);
  process_.recorder.before_step = {};
  foreign.run("ROLLBACK");
  EXPECT_TRUE(sales->locked());
  (void)process_.trace();
  EXPECT_TRUE(sales->lock_record()) << "True at once, and fetches nothing";
  EXPECT_TRUE(process_.trace().empty());
  EXPECT_EQ(sales->title(), u"New");
  EXPECT_TRUE(another_gets(u"Sales"));
  EXPECT_TRUE(report(2)->lock_record()) << "another record can be maintained meanwhile";
  EXPECT_TRUE(report(2)->release_record());
  EXPECT_EQ(sales->update(), OK_ue) << "which fetches the row anew";
  EXPECT_FALSE(sales->locked());
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'Sales'"), "New");
}

TEST_F(AfterAFailure, ADeleteInsideTheTransactionOfAnotherObjectIsPartOfIt) {
  ASSERT_TRUE(report(1)->lock_record());
  EXPECT_TRUE(pc()->remove());
  EXPECT_TRUE(report(1)->release_record());
  EXPECT_EQ(count("DW_SEC_PC"), "1");
}

TEST_F(AfterAFailure, TheCauseOfADeleteThatMetALockIsKnown) {
  const Holder another(database_);
  EXPECT_FALSE(report(1)->remove());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(state().failures.last().kind, FailureKind::kLockTimeout);
  EXPECT_EQ(state().failures.last().native, 1222);
}

TEST_F(AfterAFailure, TheCauseOfALockThatWasGivenUpIsTheLock) {
  const Holder another(database_);
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_FALSE(report(1)->lock_record());
  EXPECT_EQ(state().failures.last().kind, FailureKind::kLockTimeout);
}

TEST_F(AfterAFailure, TheCauseOfALockThatFoundNoRowIsThatThereIsNoRecord) {
  fail_to_lock();
  EXPECT_EQ(state().failures.last().kind, FailureKind::kOther);
  EXPECT_EQ(state().failures.last().number, 3021);
}

TEST_F(AfterAFailure, TheCauseOfARefusedCommitIsTheEngines) {
  test_support::PlainSqlite foreign = database_.open_plainly();
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") foreign.run("BEGIN IMMEDIATE");
  };
  EXPECT_EQ(report(1)->update(), Error_ue);
  EXPECT_EQ(state().failures.last().kind, FailureKind::kLockTimeout);
  EXPECT_EQ(state().failures.last().text, u"Lock request time out period exceeded.");
}

TEST_F(AfterAFailure, TheCauseOfAChangedRowIsThatItChanged) {
  const auto sales = report(1);
  database_.run("UPDATE DW_Reports SET Title = 'New'");
  EXPECT_EQ(sales->update(), RecordChanged_ue);
  EXPECT_EQ(state().failures.last().kind, FailureKind::kChanged);
}

TEST_F(AfterAFailure, AnUpdateThatInsertedItsRowAnewSaysSo) {
  const auto sales = report(1);
  database_.run("DELETE FROM DW_Reports WHERE ReportName = 'Sales'");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(state().failures.last().number, 3021);
}

/// Insert of each kind of record, where its row came meanwhile and where it did not.
class Insert : public AfterAFailure {};

TEST_F(Insert, WritesANewRecordOfEachKind) {
  Component component(state());
  test_support::ComponentSetters{component}.comp_id(3);
  EXPECT_EQ(component.insert(), OK_ue);
  RegisteredPC pc(state());
  pc.set_mac_number(u"BB");
  pc.set_computer_id(u"PC");
  pc.set_comp_id(1);
  EXPECT_EQ(pc.insert(), OK_ue);
  Report report(state());
  report.set_name(u"New");
  EXPECT_EQ(report.insert(), OK_ue);
  EXPECT_EQ(count("DW_SEC_COMP"), "3");
  EXPECT_EQ(count("DW_SEC_PC"), "2");
  EXPECT_EQ(count("DW_Reports"), "3");
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(Insert, LeavesARowAloneThatIsThere) {
  Report report(state());
  report.set_name(u"Sales");
  report.set_title(u"Mine");
  EXPECT_EQ(report.insert(), RecordChanged_ue);
  EXPECT_EQ(message(),
            test_support::raised(u"The data for 'Sales' is already on file. Unable to add!",
                                 u"Report", u"Insert"));
  EXPECT_EQ(state().failures.last().kind, FailureKind::kChanged);
  EXPECT_TRUE(report.locked()) << "as after any row that is not what was expected";
  EXPECT_TRUE(report.release_record());
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'Sales'"), "NULL");

  Component component(state());
  test_support::ComponentSetters{component}.comp_id(2);
  test_support::ComponentSetters{component}.name(u"Mine");
  EXPECT_EQ(component.insert(), RecordChanged_ue);
  EXPECT_TRUE(component.release_record());
  EXPECT_EQ(database_.value("SELECT CompName FROM DW_SEC_COMP WHERE CompID = 2"), "NULL");

  RegisteredPC pc(state());
  pc.set_mac_number(u"AA");
  pc.set_computer_id(u"PC");
  pc.set_comp_id(1);
  EXPECT_EQ(pc.insert(), RecordChanged_ue);
  EXPECT_TRUE(pc.release_record());
}

}  // namespace
}  // namespace tarnwick
