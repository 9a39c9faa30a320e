#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/stand_in/stand_in.h"
#include "tests/support/object_model.h"

// What the object model asks of a SQL Server through the real FreeTDS: each line of the stand-in's
// log is a request with its answer, a round trip. A transaction takes two that FreeTDS alone needs:
// it begins the next one with every commit and rollback, which has to be rolled back.

namespace tarnwick {
namespace {

using test_support::StandIn;

class RoundTrips : public testing::Test {
 protected:
  void SetUp() override {
    server_.make_database();
    static_cast<void>(server_.take_log());
    ASSERT_TRUE(
        model_.set_connection(server_.connection_string(), StandIn::kRole, StandIn::kRolePassword));
    connecting_ = count();
  }

  /// The requests since the last call.
  std::ptrdiff_t count() {
    const auto lines = server_.take_log();
    return std::count_if(lines.begin(), lines.end(), [](const std::string& line) {
      return line.starts_with("login ") || line.starts_with("batch ") || line.starts_with("rpc ") ||
             line.starts_with("transaction ");
    });
  }

  void add_pc() {
    const auto pc = std::make_shared<RegisteredPC>(state_);
    pc->set_mac_number(u"00-1A");
    pc->set_computer_id(u"PC");
    pc->set_comp_id(7);
    ASSERT_EQ(pc->update(), OK_ue) << to_display_utf8(state_.errors.message());
  }
  /// The PC, loaded, by a session that has maintained one before.
  std::shared_ptr<RegisteredPC> loaded_pc() {
    add_pc();
    EXPECT_TRUE(model_.refresh());
    const auto pc = model_.registered_pcs()->item(1);
    EXPECT_TRUE(pc->lock_record());
    EXPECT_TRUE(pc->release_record());
    static_cast<void>(count());
    return pc;
  }

  StandIn server_;
  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  odbc::OdbcEngine engine_;
  SharedState state_{host_, {&engine_}};
  Server model_{state_};
  std::ptrdiff_t connecting_ = 0;
};

TEST_F(RoundTrips, ConnectingTakesTen) {
  // The login; the session's options and isolation, the database, its isolation, the role, the lock
  // time-out, the columns of three tables.
  EXPECT_EQ(connecting_, 10);
}

TEST_F(RoundTrips, LoadingTakesTwoATable) {
  add_pc();
  static_cast<void>(count());
  ASSERT_TRUE(model_.refresh());
  EXPECT_EQ(count(), 6);
}

TEST_F(RoundTrips, LockingTakesThreeAndWritingThree) {
  const auto pc = loaded_pc();
  ASSERT_TRUE(pc->lock_record());
  EXPECT_EQ(count(), 3);  // begin, read and lock, stamp
  pc->set_total_logins(9);
  ASSERT_EQ(pc->update(), OK_ue);
  EXPECT_EQ(count(), 3);  // write, commit, FreeTDS's own
}

TEST_F(RoundTrips, WritingWithoutALockBeforeTakesSix) {
  const auto pc = loaded_pc();
  pc->set_total_logins(9);
  ASSERT_EQ(pc->update(), OK_ue);
  EXPECT_EQ(count(), 6);
}

TEST_F(RoundTrips, ReleasingTakesTwo) {
  const auto pc = loaded_pc();
  ASSERT_TRUE(pc->lock_record());
  static_cast<void>(count());
  ASSERT_TRUE(pc->release_record());
  EXPECT_EQ(count(), 2);  // roll back, FreeTDS's own
}

TEST_F(RoundTrips, TheKeyOfATableIsAskedForOnce) {
  add_pc();
  ASSERT_TRUE(model_.refresh());
  const auto pc = model_.registered_pcs()->item(1);
  static_cast<void>(count());
  ASSERT_TRUE(pc->lock_record());
  EXPECT_EQ(count(), 4);
  ASSERT_TRUE(pc->release_record());
  static_cast<void>(count());
  ASSERT_TRUE(pc->lock_record());
  EXPECT_EQ(count(), 3);
}

TEST_F(RoundTrips, AddingTakesTen) {
  // The row is looked for under a lock, given up, looked for without one, and then begun under a
  // lock and inserted.
  static_cast<void>(loaded_pc());
  const auto pc = std::make_shared<RegisteredPC>(state_);
  pc->set_mac_number(u"00-1B");
  pc->set_computer_id(u"PC");
  pc->set_comp_id(7);
  ASSERT_EQ(pc->update(), OK_ue);
  EXPECT_EQ(count(), 10);
}

TEST_F(RoundTrips, DeletingTakesOne) {
  const auto pc = loaded_pc();
  ASSERT_TRUE(pc->remove());
  EXPECT_EQ(count(), 1);
}

}  // namespace
}  // namespace tarnwick
