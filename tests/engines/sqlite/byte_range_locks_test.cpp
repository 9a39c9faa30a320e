#include <gmock/gmock.h>

#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <thread>

#include "ado/error.h"
#include "tests/engines/sqlite/two_lock_files.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::sqlite {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();

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

TEST_F(TwoLockFiles, FindALockWhileAnotherBeforeItComesAndGoes) {
  const ByteRange lasting{90, 90};
  ASSERT_TRUE(second_.try_lock(lasting));
  std::atomic<bool> stop = false;
  std::thread restless([&] {
    ByteRangeLocks third(folder_.path() / "locks", database_);
    while (!stop) {
      if (third.try_lock({10, 10})) third.unlock({10, 10});
    }
  });
  for (int i = 0; i < 300; ++i) {
    EXPECT_THAT(first_.foreign_locks({0, 1 << 20}), Contains(lasting));
  }
  stop = true;
  restless.join();
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

TEST(ByteRangeLocks, RefuseAFileThatHasASecondName) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  const auto victim = folder.write("victim", "precious");
  const auto file = folder.path() / "locks";
  std::filesystem::create_hard_link(victim, file);
  const auto open = [&] {
    const ByteRangeLocks locks(file, database);
    return 0;
  };
  EXPECT_EQ(test_support::error_number_of(open), -2147217911);
  EXPECT_NE(test_support::error_description_of(open).value_or(Text()).find(u"has a second name"),
            Text::npos);
  EXPECT_EQ(std::filesystem::file_size(victim), 8u);
}

TEST(ByteRangeLocks, RefuseAFolderInTheirPlace) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  const auto file = folder.path() / "locks";
  std::filesystem::create_directory(file);
  EXPECT_THROW(ByteRangeLocks(file, database), ado::AdoError);
}

}  // namespace
}  // namespace tarnwick::sqlite
