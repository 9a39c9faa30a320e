#include "tests/engines/sqlite/two_lock_files.h"

#include <string>

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;

TEST_F(TwoLockFiles, UnlockTheMiddleOfARange) {
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({4, 6});
  EXPECT_TRUE(second_.try_lock({4, 6}));
  EXPECT_FALSE(second_.try_lock({3, 3}));
  EXPECT_FALSE(second_.try_lock({7, 7}));
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
