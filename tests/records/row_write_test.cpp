#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/row_fetch.h"
#include "records/row_version.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using ::testing::ElementsAre;

/// A row that was fetched for maintenance.
class RowWrite : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    fetched_ = update_read(state(), u"Sales", TableSelector::kReports);
    ASSERT_EQ(fetched_.outcome, FetchOutcome::kFound);
    (void)process_.trace();
  }

  ado::Recordset& row() { return *fetched_.recordset; }
  std::string stored(const std::string& column) const {
    return database_.value("SELECT " + column + " FROM DW_Reports");
  }

  FetchedRow fetched_;
};

TEST_F(RowWrite, ClearsTheStampWritesAndCommits) {
  row().field(u"Title").set_value(Text(u"New"));
  EXPECT_TRUE(update_write(state(), row()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Update Title, SoftLock", u"Commit"));
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_EQ(stored("Title"), "New");
  EXPECT_EQ(stored("SoftLock"), "");
  EXPECT_EQ(message(), u"");
}

TEST_F(RowWrite, MovesTheRowVersionOn) {
  const std::string before = stored("RowVersion");
  ASSERT_TRUE(update_write(state(), row()));
  const std::string after = stored("RowVersion");
  EXPECT_EQ(after.size(), 16u);
  EXPECT_LT(before, after);
}

TEST_F(RowWrite, KeepsTheRowVersionThatWasReadAtTheOpen) {
  const std::string before = stored("RowVersion");
  EXPECT_EQ(to_utf8(row_version_text(row().field(u"RowVersion").value())), before);
  ASSERT_TRUE(update_write(state(), row()));
  EXPECT_EQ(to_utf8(row_version_text(row().field(u"RowVersion").value())), before);
}

TEST_F(RowWrite, RollsBackAndRaisesWhenTheCommitIsRefused) {
  test_support::PlainSqlite foreign = database_.open_plainly();
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") foreign.run("BEGIN IMMEDIATE");
  };
  row().field(u"Title").set_value(Text(u"New"));
  try {
    (void)update_write(state(), row());
    FAIL() << "the commit went through";
  } catch (const Error& error) {
    EXPECT_EQ(error.number(), -2147221504);
    EXPECT_EQ(error.description(), u"Unable to update, record is locked!");
  }
  EXPECT_EQ(message(), u"Unable to update, record is locked!");
  EXPECT_EQ(number(), 0);
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Update Title, SoftLock", u"Commit",
                  u"Failed -2147467259 1222: Lock request time out period exceeded.", u"Rollback"));
  foreign.run("ROLLBACK");
  EXPECT_EQ(stored("Title"), "Old");
  EXPECT_EQ(stored("SoftLock"), "NULL");
}

TEST_F(RowWrite, RecordsARowThatBreaksARuleOfItsTable) {
  row().field(u"ReportName").set_value(Null{});
  EXPECT_FALSE(update_write(state(), row()));
  EXPECT_TRUE(message().starts_with(
      u"\r\nError in Component: 'General', Proceedure: 'UpdateWrite'.\r\nError #:    \t"));
  EXPECT_TRUE(state().connection->in_transaction()) << "the row stays with its object";
  EXPECT_EQ(stored("ReportName"), "Sales");
}

TEST_F(RowWrite, RecordsARowThatATriggerRefuses) {
  update_release(row());
  database_.run(
      "CREATE TRIGGER Refuse BEFORE UPDATE OF Title ON DW_Reports WHEN NEW.Title = 'Bad'"
      " BEGIN SELECT RAISE(ABORT, 'no such title'); END");
  fetched_ = update_read(state(), u"Sales", TableSelector::kReports);
  row().field(u"Title").set_value(Text(u"Bad"));
  EXPECT_FALSE(update_write(state(), row()));
  EXPECT_TRUE(message().starts_with(
      u"\r\nError in Component: 'General', Proceedure: 'UpdateWrite'.\r\nError #:    \t"));
  EXPECT_NE(message().find(u"no such title"), Text::npos);
  EXPECT_NE(number(), 0);
  EXPECT_EQ(stored("Title"), "Old");
}

TEST_F(RowWrite, RecordsThatThereIsNoStampToClear) {
  update_release(row());
  database_.run("ALTER TABLE DW_Reports RENAME COLUMN SoftLock TO Lock_Stamp");
  state().connection->begin_trans();
  ado::Recordset plain;
  plain.set_active_connection(state().connection);
  plain.set_lock_type(ado::LockType::kOptimistic);
  plain.open(u"Select * From DW_Reports");
  EXPECT_FALSE(update_write(state(), plain));
  EXPECT_EQ(message(), account(u"General", u"UpdateWrite", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
}

TEST_F(RowWrite, ReleasesByARollbackThatTakesTheStampBack) {
  row().field(u"Title").set_value(Text(u"New"));
  EXPECT_TRUE(update_release(row()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(stored("Title"), "Old");
  EXPECT_EQ(stored("SoftLock"), "NULL");
}

TEST_F(RowWrite, ThrowsWhatTheRollbackThrows) {
  ASSERT_TRUE(update_release(row()));
  EXPECT_THROW(update_release(row()), Error);
}

}  // namespace
}  // namespace tarnwick
