#include "apps/windows/switches.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace tarnwick::apps {
namespace {

class SwitchesTest : public ::testing::Test {
 protected:
  std::optional<Switches> parse(const std::vector<std::wstring>& arguments) {
    return Switches::parse(arguments, complaint_);
  }

  std::wstring complaint_;
};

TEST_F(SwitchesTest, AreHandedOnWithARegistrationAsACommandLineHasThem) {
  const auto switches =
      parse({L"/RegServer", L"--when-locked", L"retry:3", L"--folder", L"C:\\Program Files\\"});
  ASSERT_TRUE(switches);
  EXPECT_EQ(switches->action, Switches::Action::kRegister);
  EXPECT_EQ(switches->passed_on, L"--when-locked retry:3 --folder \"C:\\Program Files\\\\\"");
  EXPECT_EQ(switches->folder, L"C:\\Program Files\\");
  const auto plain = parse({L"--folder", L"C:/windows"});
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->passed_on, L"--folder \"C:\\windows\"");
}

TEST_F(SwitchesTest, HandNothingOnWhereNothingWasGiven) {
  const auto switches = parse({L"/RegServer"});
  ASSERT_TRUE(switches);
  EXPECT_EQ(switches->passed_on, L"");
  EXPECT_TRUE(switches->folder.empty());
}

TEST_F(SwitchesTest, TakeNoFolderThatIsNotThereOrMeansAnotherOneElsewhere) {
  for (const wchar_t* folder : {L"C:\\missing", L"windows", L".", L"C:windows", L"\\windows",
                                L"C:\\windows\\regedit.exe", L""}) {
    EXPECT_FALSE(parse({L"--folder", folder})) << folder;
    EXPECT_EQ(complaint_,
              std::wstring(L"--folder takes the whole name of a folder that exists, not '") +
                  folder + L"'.");
  }
  EXPECT_FALSE(parse({L"--folder"}));
}

}  // namespace
}  // namespace tarnwick::apps
