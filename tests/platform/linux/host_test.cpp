#include "platform/linux/host.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <string>

#include "platform/unattended_message_box.h"

namespace tarnwick::platform {
namespace {

class LinuxHostTest : public ::testing::Test {
 protected:
  UnattendedMessageBox box_{WhenLocked{}, [](TextView) {}};
  LinuxHost host_{box_};
};

Text computer_name() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  EXPECT_EQ(gethostname(name.data(), name.size()), 0);
  return computer_name_of(from_utf8(name.data()));
}

TEST(ComputerNameTest, IsTheFirstLabelOfTheHostName) {
  EXPECT_EQ(computer_name_of(u"depot.example.org"), u"depot");
  EXPECT_EQ(computer_name_of(u"depot"), u"depot");
}

TEST(ComputerNameTest, HasFifteenCharactersAtMost) {
  EXPECT_EQ(computer_name_of(u"warehouse-north-07"), u"warehouse-north");
  EXPECT_EQ(computer_name_of(u"warehouse-north"), u"warehouse-north");
}

TEST_F(LinuxHostTest, GivesTheComputerNameAndANulBehindIt) {
  const Text expected = computer_name();
  std::array<char16_t, 17> buffer;
  buffer.fill(u'?');
  ASSERT_TRUE(host_.computer_name(buffer));
  EXPECT_EQ(TextView(buffer.data(), expected.size()), expected);
  EXPECT_EQ(buffer[expected.size()], u'\0');
  EXPECT_EQ(buffer[expected.size() + 1], u'?');
}

TEST_F(LinuxHostTest, LeavesTheNulOutWhereTheNameFillsTheBuffer) {
  const Text expected = computer_name();
  Text buffer(expected.size(), u'?');
  ASSERT_TRUE(host_.computer_name(buffer));
  EXPECT_EQ(buffer, expected);
}

TEST_F(LinuxHostTest, FailsWhereTheNameDoesNotFit) {
  Text buffer(computer_name().size() - 1, u'?');
  EXPECT_FALSE(host_.computer_name(buffer));
}

TEST_F(LinuxHostTest, KeepsFilesInTheFolderOfTheExecutable) {
  EXPECT_TRUE(std::filesystem::equivalent(host_.folder() / "platform_test", "/proc/self/exe"));
}

TEST_F(LinuxHostTest, KeepsFilesInTheFolderThatItIsGiven) {
  EXPECT_EQ(LinuxHost(box_, "/some/folder").folder(), "/some/folder");
}

TEST_F(LinuxHostTest, KnowsNoModuleFileName) { EXPECT_EQ(host_.module_file_name(), std::nullopt); }

TEST_F(LinuxHostTest, TellsTheLocalTime) {
  const Date before = local_now();
  const Date now = host_.now();
  EXPECT_GE(now.days, before.days);
  EXPECT_LE(now.days, local_now().days);
}

TEST_F(LinuxHostTest, HandsTheMessageBoxOn) { EXPECT_EQ(&host_.message_box(), &box_); }

}  // namespace
}  // namespace tarnwick::platform
