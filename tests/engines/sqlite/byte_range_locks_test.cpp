#include "engines/sqlite/byte_range_locks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();

class TwoLockFiles : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  fs::path database_ = folder_.write("data.db", "");
  ByteRangeLocks first_{folder_.path() / "locks", database_};
  ByteRangeLocks second_{folder_.path() / "locks", database_};
};

TEST_F(TwoLockFiles, ExcludeEachOtherInOneProcess) {
  EXPECT_TRUE(first_.try_lock({5, 5}));
  EXPECT_FALSE(second_.try_lock({5, 5}));
  EXPECT_TRUE(second_.try_lock({6, 6}));
  first_.unlock({5, 5});
  EXPECT_TRUE(second_.try_lock({5, 5}));
}

TEST_F(TwoLockFiles, KnowNoConflictWithTheirOwnLocks) {
  EXPECT_TRUE(first_.try_lock({5, 5}));
  EXPECT_TRUE(first_.try_lock({1, 9}));
  EXPECT_EQ(first_.foreign_lock({1, 9}), std::nullopt);
}

TEST_F(TwoLockFiles, LockUpToTheLastOffset) {
  EXPECT_TRUE(first_.try_lock({kLast, kLast}));
  EXPECT_FALSE(second_.try_lock({kLast - 5, kLast}));
  EXPECT_EQ(second_.foreign_lock({kLast - 5, kLast}), (ByteRange{kLast, kLast}));
}

TEST_F(TwoLockFiles, ListAllLocksOfTheOtherInOrder) {
  EXPECT_THAT(second_.foreign_locks({0, 100}), IsEmpty());
  for (const std::int64_t byte : {70, 10, 40}) ASSERT_TRUE(first_.try_lock({byte, byte + 1}));
  EXPECT_THAT(second_.foreign_locks({0, 100}),
              ElementsAre(ByteRange{10, 11}, ByteRange{40, 41}, ByteRange{70, 71}));
  EXPECT_THAT(second_.foreign_locks({11, 40}), ElementsAre(ByteRange{11, 11}, ByteRange{40, 40}));
  EXPECT_THAT(second_.foreign_locks({12, 39}), IsEmpty());
}

TEST_F(TwoLockFiles, UnlockTheMiddleOfARange) {
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({4, 6});
  EXPECT_TRUE(second_.try_lock({4, 6}));
  EXPECT_FALSE(second_.try_lock({3, 3}));
  EXPECT_FALSE(second_.try_lock({7, 7}));
}

TEST_F(TwoLockFiles, FreeTheirLocksWhenTheyGo) {
  auto third = std::make_unique<ByteRangeLocks>(folder_.path() / "locks", database_);
  ASSERT_TRUE(third->try_lock({5, 5}));
  EXPECT_FALSE(first_.try_lock({5, 5}));
  third.reset();
  EXPECT_TRUE(first_.try_lock({5, 5}));
}

TEST_F(TwoLockFiles, KeepLocksWhenTheSameFileIsClosedElsewhere) {
  ASSERT_TRUE(first_.try_lock({5, 5}));
  { const ByteRangeLocks third(folder_.path() / "locks", database_); }
  EXPECT_FALSE(second_.try_lock({5, 5}));
}

TEST_F(TwoLockFiles, ReadWhatWasWrittenAlsoUnderALock) {
  ASSERT_TRUE(first_.try_lock({0, 100}));
  first_.write_at(10, "hello");
  std::string text(5, ' ');
  EXPECT_TRUE(second_.read_at(10, text));
  EXPECT_EQ(text, "hello");
  EXPECT_FALSE(second_.read_at(11, text));
}

TEST(ByteRangeLocks, TakeThePermissionsOfTheDatabase) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  for (const auto mode : {fs::perms{0600}, fs::perms{0660}, fs::perms{0664}}) {
    fs::permissions(database, mode);
    const auto file = folder.path() / ("locks-" + std::to_string(static_cast<unsigned>(mode)));
    const ByteRangeLocks locks(file, database);
    EXPECT_EQ(fs::status(file).permissions(), mode);
  }
}

TEST(ByteRangeLocks, SayWhichFileCannotBeMade) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  try {
    const ByteRangeLocks locks(folder.path() / "nowhere" / "locks", database);
    FAIL() << "a folder that is not there was no hindrance";
  } catch (const std::exception& error) {
    EXPECT_EQ(error.what(), "The lock file '" + (folder.path() / "nowhere" / "locks").string() +
                                "': No such file or directory");
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
