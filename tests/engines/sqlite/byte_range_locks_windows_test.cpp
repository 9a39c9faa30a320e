#include <gmock/gmock.h>

#include <string>
#include <system_error>

#include "ado/error.h"
#include "tests/engines/sqlite/two_lock_files.h"

// What is particular to locks that can only be given back as they were taken, and that are found by
// probing.

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();

TEST_F(TwoLockFiles, KeepAPieceUntilAllOfItWasUnlocked) {
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({4, 6});
  EXPECT_FALSE(second_.try_lock({4, 6}));
  EXPECT_FALSE(second_.try_lock({3, 3}));
  first_.unlock({1, 3});
  first_.unlock({7, 9});
  EXPECT_TRUE(second_.try_lock({1, 9}));
}

TEST_F(TwoLockFiles, LockAgainWhatIsKeptOnlyAsPartOfAPiece) {
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({4, 6});
  EXPECT_TRUE(first_.try_lock({5, 5}));
  first_.unlock({1, 9});
  EXPECT_TRUE(second_.try_lock({1, 9}));
}

TEST_F(TwoLockFiles, GiveBackEachPieceThatWasTakenByItself) {
  ASSERT_TRUE(first_.try_lock({5, 5}));
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({6, 9});
  EXPECT_TRUE(second_.try_lock({6, 9}));
  EXPECT_FALSE(second_.try_lock({1, 1}));
  EXPECT_FALSE(second_.try_lock({5, 5}));
  first_.unlock({5, 5});
  EXPECT_TRUE(second_.try_lock({5, 5}));
}

TEST_F(TwoLockFiles, KeepNothingOfALockThatWasRefused) {
  ASSERT_TRUE(first_.try_lock({5, 5}));
  ASSERT_TRUE(second_.try_lock({7, 7}));
  EXPECT_FALSE(first_.try_lock({1, 9}));
  EXPECT_TRUE(second_.try_lock({1, 4}));
  EXPECT_TRUE(second_.try_lock({8, 9}));
  EXPECT_FALSE(second_.try_lock({5, 5}));
}

TEST_F(TwoLockFiles, LeaveNoTraceOfAProbe) {
  EXPECT_EQ(second_.foreign_lock({0, kLast}), std::nullopt);
  EXPECT_TRUE(first_.try_lock({0, kLast - 1}));
  EXPECT_EQ(first_.foreign_lock({0, kLast - 1}), std::nullopt);
  first_.unlock({0, kLast - 1});
  EXPECT_TRUE(second_.try_lock({0, kLast - 1}));
}

TEST_F(TwoLockFiles, FindASingleByteInAVeryLongRange) {
  constexpr std::int64_t kByte = (std::int64_t{1} << 61) + 12'345;
  ASSERT_TRUE(first_.try_lock({kByte, kByte}));
  EXPECT_EQ(second_.foreign_lock({1, kLast}), (ByteRange{kByte, kByte}));
  EXPECT_THAT(second_.foreign_locks({1, kLast}), ElementsAre(ByteRange{kByte, kByte}));
}

TEST_F(TwoLockFiles, FindALongLockFromItsFirstByteToItsLast) {
  constexpr std::int64_t kFirst = std::int64_t{1} << 46;
  constexpr std::int64_t kEnd = (std::int64_t{1} << 47) - 1;
  ASSERT_TRUE(first_.try_lock({kFirst, kEnd}));
  EXPECT_EQ(second_.foreign_lock({0, kLast}), (ByteRange{kFirst, kEnd}));
  EXPECT_THAT(second_.foreign_locks({kFirst, kEnd}), ElementsAre(ByteRange{kFirst, kEnd}));
  EXPECT_THAT(second_.foreign_locks({kEnd + 1, kLast}), IsEmpty());
}

TEST_F(TwoLockFiles, FindLocksAroundTheirOwn) {
  ASSERT_TRUE(first_.try_lock({50, 59}));
  ASSERT_TRUE(second_.try_lock({10, 10}));
  ASSERT_TRUE(second_.try_lock({90, 90}));
  EXPECT_THAT(first_.foreign_locks({0, 100}), ElementsAre(ByteRange{10, 10}, ByteRange{90, 90}));
  EXPECT_EQ(first_.foreign_lock({20, 80}), std::nullopt);
}

TEST_F(TwoLockFiles, KnowTheirOwnLockOfTheLastOffset) {
  ASSERT_TRUE(first_.try_lock({kLast, kLast}));
  EXPECT_TRUE(first_.try_lock({kLast - 5, kLast}));
  EXPECT_EQ(first_.foreign_lock({kLast - 9, kLast}), std::nullopt);
  EXPECT_THAT(first_.foreign_locks({kLast - 9, kLast}), IsEmpty());
  EXPECT_THAT(second_.foreign_locks({kLast - 9, kLast}), ElementsAre(ByteRange{kLast - 5, kLast}));
  first_.unlock({kLast - 5, kLast});
  EXPECT_TRUE(second_.try_lock({kLast - 9, kLast}));
}

TEST(ByteRangeLocksOfWindows, WorkOnAFileWithAnyName) {
  const test_support::TemporaryFolder folder;
  const auto file = folder.path() / u"\u00DCbung \u20AC \u65E5\u672C \U0001F600-locks";
  ByteRangeLocks first(file, folder.path());
  const ByteRangeLocks second(file, folder.path());
  EXPECT_TRUE(first.try_lock({5, 5}));
  EXPECT_EQ(second.foreign_lock({0, 9}), (ByteRange{5, 5}));
  EXPECT_TRUE(std::filesystem::exists(file));
}

TEST(ByteRangeLocksOfWindows, SayWhichFileCannotBeMade) {
  constexpr int kPathNotFound = 3;
  const test_support::TemporaryFolder folder;
  const auto file = folder.path() / u"n\u00F6where \u65E5" / "locks";
  try {
    const ByteRangeLocks locks(file, folder.path());
    FAIL() << "a folder that is not there was no hindrance";
  } catch (const ado::AdoError& error) {
    EXPECT_EQ(error.native(), kPathNotFound);
    EXPECT_EQ(error.description(),
              join({u"The lock file '", file.u16string(), u"': ",
                    from_utf8(std::system_category().message(kPathNotFound))}));
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
