#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

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

bool user_has(const wchar_t* path) {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(HKEY_CURRENT_USER, path, 0, KEY_READ, &key);
  if (status == ERROR_SUCCESS) RegCloseKey(key);
  return status == ERROR_SUCCESS;
}

bool registered() { return user_has(L"Software\\Classes\\Tarnwick.Server\\CLSID"); }

TEST(TarnwickExe, SaysWhyItCannotRegisterAndLeavesNothingBehind) {
  constexpr const wchar_t* kClassIds = L"Software\\Classes\\CLSID";
  ASSERT_FALSE(user_has(kClassIds));
  // Nothing that is to last can be made beneath a volatile key.
  for (const auto& [path, option] :
       {std::pair<const wchar_t*, int>{L"Software\\Classes", REG_OPTION_NON_VOLATILE},
        std::pair<const wchar_t*, int>{kClassIds, REG_OPTION_VOLATILE}}) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path, 0, nullptr, static_cast<DWORD>(option),
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  Process process(command(L"/RegServerPerUser"));
  EXPECT_THAT(process.output(), StartsWith("Tarnwick: The registry key CLSID\\{"));
  EXPECT_EQ(process.exit_code(), 1u);
  EXPECT_FALSE(registered());
  EXPECT_FALSE(user_has(L"Software\\Classes\\TypeLib"));
  EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kClassIds), ERROR_SUCCESS);
}

TEST(TarnwickExe, RegistersAndUnregistersInAnyLetterCase) {
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
