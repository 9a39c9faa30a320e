#include <sched.h>

#include "engines/sqlite/upgrade_database.h"
#include "tests/engines/sqlite/killing_calls.h"
#include "tests/engines/sqlite/released_database.h"
#include "tests/support/forked_process.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using test_support::Conversation;
using test_support::ForkedProcess;

/// Upgrades in processes of their own.
class UpgradeInAnotherProcess : public ReleasedDatabaseTest {
 protected:
  [[nodiscard]] bool is_as_it_was() const {
    return schema_of(file()) == schema_of(RELEASED_DATABASE) && value("PRAGMA user_version") == "0";
  }
  void upgrade_when_told(Conversation& test) const {
    (void)test.hear();
    test.say(std::to_string(upgrade_database(folder(), test_support::EmbeddedDatabase::kName).to));
  }
  /// Until it has the index of the write-ahead log open: next it asks for the right to write.
  void wait_until_it_reads(const ForkedProcess& child) const {
    const auto index = fs::canonical(file()).string() + "-shm";
    for (bool open = false; !open; ::sched_yield()) {
      int files = 0;
      std::error_code closed;
      for (const auto& entry :
           fs::directory_iterator("/proc/" + std::to_string(child.id()) + "/fd")) {
        ++files;
        open = open || fs::read_symlink(entry, closed) == index;
      }
      ASSERT_NE(files, 0) << "it has ended";
    }
  }
};

TEST_F(UpgradeInAnotherProcess, KilledAtAnyStepLeavesTheOldTablesOrTheNewOnes) {
  bool done = false;
  int kill_at = 1;
  for (; !done; ++kill_at) {
    ASSERT_LT(kill_at, 1000);
    fs::copy_file(RELEASED_DATABASE, file(), fs::copy_options::overwrite_existing);
    ForkedProcess child([&](Conversation&) {
      kill_after(kill_at);
      static_cast<void>(upgrade_database(folder(), test_support::EmbeddedDatabase::kName));
    });
    done = child.ended_well();
    EXPECT_EQ(value("PRAGMA integrity_check"), "ok") << kill_at;
    const bool committed = value("PRAGMA user_version") == "1";
    EXPECT_TRUE(committed || is_as_it_was()) << kill_at;
    EXPECT_TRUE(committed || !done) << kill_at;
    EXPECT_EQ(upgrade_database(folder(), test_support::EmbeddedDatabase::kName).to, 1) << kill_at;
    for (const char* suffix : {"-wal", "-shm"}) {
      fs::remove(file().string() + suffix);
    }
  }
  EXPECT_GT(kill_at, 5);  // or nothing of it was interrupted
}

TEST_F(UpgradeInAnotherProcess, WaitsForWhoeverWrites) {
  ForkedProcess child([&](Conversation& test) { upgrade_when_told(test); });
  test_support::PlainSqlite writer(file());
  writer.run("BEGIN IMMEDIATE; UPDATE DW_Reports SET Title = 'New'");
  child.say("upgrade");
  wait_until_it_reads(child);
  writer.run("COMMIT");
  EXPECT_EQ(child.hear(), "1");
  EXPECT_TRUE(child.ended_well());
  EXPECT_EQ(value("SELECT Title FROM DW_Reports"), "New");
}

TEST_F(UpgradeInAnotherProcess, KilledWhileItWaitsHasChangedNothing) {
  ForkedProcess child([&](Conversation& test) { upgrade_when_told(test); });
  test_support::PlainSqlite writer(file());
  writer.run("BEGIN IMMEDIATE");
  child.say("upgrade");
  wait_until_it_reads(child);
  child.kill();
  writer.run("ROLLBACK");
  EXPECT_TRUE(is_as_it_was());
}

}  // namespace
}  // namespace tarnwick::sqlite
