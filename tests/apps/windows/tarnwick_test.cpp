#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/apps/windows/process.h"

namespace tarnwick {
namespace {

using test_support::Process;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::wstring command(const std::wstring& switches) { return L"\"" TARNWICK_EXE L"\" " + switches; }

TEST(TarnwickExe, SaysWhatItIsWhenItIsStartedByHand) {
  Process process(command(L""));
  EXPECT_THAT(process.output(), StartsWith("Tarnwick is an automation server"));
  EXPECT_EQ(process.exit_code(), 0u);
}

TEST(TarnwickExe, RefusesASwitchThatItDoesNotKnow) {
  Process process(command(L"/RegSever"));
  EXPECT_THAT(process.output(), HasSubstr("'/RegSever'"));
  EXPECT_EQ(process.exit_code(), 2u);
}

TEST(TarnwickExe, RefusesAWhenLockedThatItDoesNotUnderstand) {
  Process process(command(L"/RegServer --when-locked sometimes"));
  EXPECT_THAT(process.output(), HasSubstr("'sometimes'"));
  EXPECT_EQ(process.exit_code(), 2u);
}

TEST(TarnwickExe, RegistersAndUnregistersInAnyLetterCase) {
  HKEY key = nullptr;
  const auto registered = [&] {
    const LSTATUS status = RegOpenKeyExW(
        HKEY_CURRENT_USER, L"Software\\Classes\\Tarnwick.Server\\CLSID", 0, KEY_READ, &key);
    if (status == ERROR_SUCCESS) RegCloseKey(key);
    return status == ERROR_SUCCESS;
  };
  EXPECT_FALSE(registered());
  Process on(command(L"-regserverperuser"));
  EXPECT_EQ(on.output(), "");
  EXPECT_EQ(on.exit_code(), 0u);
  EXPECT_TRUE(registered());
  Process off(command(L"/UNREGSERVERPERUSER"));
  EXPECT_EQ(off.output(), "");
  EXPECT_EQ(off.exit_code(), 0u);
  EXPECT_FALSE(registered());
}

}  // namespace
}  // namespace tarnwick
