#include "platform/windows/host.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>

#include "platform/unattended_message_box.h"
#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::platform {
namespace {

class WindowsHostTest : public ::testing::Test {
 protected:
  UnattendedMessageBox box_{WhenLocked{}, [](TextView) {}};
  WindowsHost host_{box_};
};

Text computer_name() {
  std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
  auto size = static_cast<DWORD>(name.size());
  EXPECT_NE(GetComputerNameW(name.data(), &size), 0);
  return from_wide({name.data(), size});
}

TEST_F(WindowsHostTest, GivesTheComputerNameAndANulBehindIt) {
  const Text expected = computer_name();
  std::array<char16_t, MAX_COMPUTERNAME_LENGTH + 2> buffer;
  buffer.fill(u'?');
  ASSERT_TRUE(host_.computer_name(buffer));
  EXPECT_EQ(TextView(buffer.data(), expected.size()), expected);
  EXPECT_EQ(buffer[expected.size()], u'\0');
  EXPECT_EQ(buffer[expected.size() + 1], u'?');
}

TEST_F(WindowsHostTest, FailsWhereTheNameWithItsNulDoesNotFit) {
  Text buffer(computer_name().size(), u'?');
  EXPECT_FALSE(host_.computer_name(buffer));
}

TEST_F(WindowsHostTest, KnowsTheFileNameOfItsModule) {
  const auto name = host_.module_file_name();
  ASSERT_TRUE(name);
  EXPECT_TRUE(name->ends_with(u"\\platform_test.exe"));
}

TEST_F(WindowsHostTest, KeepsFilesInTheFolderOfTheExecutable) {
  EXPECT_TRUE(
      std::filesystem::equivalent(host_.folder() / "platform_test.exe", executable_file_name()));
}

TEST_F(WindowsHostTest, KeepsFilesInTheFolderThatItIsGiven) {
  EXPECT_EQ(WindowsHost(box_, "C:\\some folder").folder(), "C:\\some folder");
}

TEST_F(WindowsHostTest, TellsTheLocalTime) {
  const Date before = local_now();
  const Date now = host_.now();
  EXPECT_GE(now.days, before.days);
  EXPECT_LE(now.days, local_now().days);
}

TEST_F(WindowsHostTest, HandsTheMessageBoxOn) { EXPECT_EQ(&host_.message_box(), &box_); }

}  // namespace
}  // namespace tarnwick::platform
