#include "platform/file_system.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temporary_folder.h"

namespace tarnwick::platform {
namespace {

const FileSystemObject kFiles;

Text text(const std::filesystem::path& path) { return path.u16string(); }

TEST(FileExists, IsFalseForPipesAndDevices) {
  const test_support::TemporaryFolder folder;
  const auto pipe = folder.path() / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(kFiles.file_exists(text(pipe)));
  EXPECT_FALSE(kFiles.file_exists(u"/dev/zero"));
}

TEST(FileExists, IsForALinkWhatItIsForItsTarget) {
  const test_support::TemporaryFolder folder;
  std::filesystem::create_symlink(folder.write("file", "x"), folder.path() / "to a file");
  std::filesystem::create_symlink("/dev/zero", folder.path() / "to a device");
  std::filesystem::create_symlink("nothing", folder.path() / "to nothing");
  EXPECT_TRUE(kFiles.file_exists(text(folder.path() / "to a file")));
  EXPECT_FALSE(kFiles.file_exists(text(folder.path() / "to a device")));
  EXPECT_FALSE(kFiles.file_exists(text(folder.path() / "to nothing")));
}

}  // namespace
}  // namespace tarnwick::platform
