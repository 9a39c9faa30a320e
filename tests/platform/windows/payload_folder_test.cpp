#include "platform/windows/payload_folder.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>

#include "platform/windows/api.h"
#include "platform/windows/host.h"

namespace tarnwick::platform {
namespace {

namespace fs = std::filesystem;

class PayloadFolderTest : public ::testing::Test {
 protected:
  PayloadFolderTest() { fs::create_directories(program_); }
  ~PayloadFolderTest() override { fs::remove_all(folder_); }

  const fs::path folder_ =
      fs::temp_directory_path() / ("tarnwick-" + std::to_string(GetCurrentProcessId()));
  const fs::path program_ = folder_ / "Programs" / "Tarnwick";
  const fs::path users_ = folder_ / "Local" / "Tarnwick";
};

TEST_F(PayloadFolderTest, IsThatOfTheExecutableWhereTheUserCanWriteThere) {
  EXPECT_EQ(choose_payload_folder(program_, {}, users_), program_);
  EXPECT_TRUE(fs::is_empty(program_));
}

TEST_F(PayloadFolderTest, IsTheUsersBelowAFolderOfPrograms) {
  const std::array above{folder_ / "PROGRAMS"};
  EXPECT_EQ(choose_payload_folder(program_, above, users_), users_);
  const std::array beside{folder_ / "Program"};
  EXPECT_EQ(choose_payload_folder(program_, beside, users_), program_);
}

TEST_F(PayloadFolderTest, IsTheUsersWhereTheUserCannotWrite) {
  EXPECT_EQ(choose_payload_folder(folder_ / "missing", {}, users_), users_);
}

TEST_F(PayloadFolderTest, IsTheOneThatWasGiven) {
  const PayloadFolder given(program_);
  EXPECT_EQ(given.path(), program_);
}

TEST_F(PayloadFolderTest, OfAProgramAmongNoOthersIsItsOwnAndStays) {
  {
    const PayloadFolder chosen{{}};
    EXPECT_EQ(chosen.path(), fs::path(executable_file_name()).parent_path());
  }
  EXPECT_TRUE(fs::exists(executable_file_name()));
}

}  // namespace
}  // namespace tarnwick::platform
