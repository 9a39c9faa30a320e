#include "automation/com/registration.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "automation/com/class_table.h"

namespace tarnwick::automation::com {
namespace {

/// Keys end with a backslash; values are their bytes.
using Dump = std::map<std::wstring, std::wstring>;

void dump_into(HKEY key, REGSAM view, const std::wstring& path, Dump& dump) {
  dump[path + L"\\"] = L"";
  for (DWORD i = 0;; ++i) {
    wchar_t name[512];
    DWORD name_size = 512;
    std::vector<BYTE> data(16384);
    auto data_size = static_cast<DWORD>(data.size());
    DWORD type = 0;
    if (RegEnumValueW(key, i, name, &name_size, nullptr, &type, data.data(), &data_size) !=
        ERROR_SUCCESS) {
      break;
    }
    std::wstring value = std::to_wstring(type) + L":";
    for (DWORD b = 0; b + 1 < data_size; b += 2) {
      value += static_cast<wchar_t>(data[b] | data[b + 1] << 8);
    }
    while (value.back() == L'\0') value.pop_back();
    dump[path + L"\\" + name + L" ="] = value;
  }
  for (DWORD i = 0;; ++i) {
    wchar_t name[512];
    DWORD name_size = 512;
    if (RegEnumKeyExW(key, i, name, &name_size, nullptr, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS) {
      break;
    }
    HKEY child = nullptr;
    if (RegOpenKeyExW(key, name, 0, KEY_READ | view, &child) != ERROR_SUCCESS) continue;
    dump_into(child, view, path + L"\\" + name, dump);
    RegCloseKey(child);
  }
}

/// The registry keeps the spelling of whoever made a key first.
std::wstring lower(std::wstring text) {
  CharLowerBuffW(text.data(), static_cast<DWORD>(text.size()));
  return text;
}

const std::wstring& value_in(const Dump& dump, const std::wstring& name) {
  static const std::wstring kNone = L"none";
  for (const auto& [key, value] : dump) {
    if (lower(key) == lower(name)) return value;
  }
  return kNone;
}

HKEY root_of(Scope scope) {
  return scope == Scope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

/// What programs of one kind see below `path`, which ends with a backslash.
void dump_view(Scope scope, REGSAM view, const std::wstring& path, Dump& dump) {
  HKEY key = nullptr;
  const std::wstring all = L"Software\\Classes\\" + path;
  if (RegOpenKeyExW(root_of(scope), all.c_str(), 0, KEY_READ | view, &key) == ERROR_SUCCESS) {
    dump_into(key, view, path.empty() ? L"" : L"\\" + path.substr(0, path.size() - 1), dump);
    RegCloseKey(key);
  }
}

Dump classes_of_64_bit_programs(Scope scope) {
  Dump dump;
  dump_view(scope, KEY_WOW64_64KEY, L"", dump);
  return dump;
}

/// What 32-bit programs have for themselves.
Dump classes_of_32_bit_programs(Scope scope) {
  Dump dump;
  dump_view(scope, KEY_WOW64_32KEY, L"CLSID\\", dump);
  dump_view(scope, KEY_WOW64_32KEY, L"Interface\\", dump);
  return dump;
}

struct Views {
  Dump of_64_bit;
  Dump of_32_bit;
  friend bool operator==(const Views&, const Views&) = default;
};

Views classes_of(Scope scope) {
  return {classes_of_64_bit_programs(scope), classes_of_32_bit_programs(scope)};
}

void expect_untouched(const Dump& before, const Dump& after) {
  for (const auto& [name, value] : before) {
    ASSERT_TRUE(after.contains(name));
    EXPECT_EQ(after.at(name), value);
  }
}

const Installation kInstallation{L"C:\\Program Files\\Tarnwick\\Tarnwick.exe",
                                 L"--when-locked cancel"};

/// Works on the registry of the prefix; what the tests find there is put back.
class RegistrationTest : public ::testing::TestWithParam<Scope> {
 protected:
  RegistrationTest() { unregister_server(GetParam()); }
  ~RegistrationTest() override {
    unregister_server(GetParam());
    if (GetParam() == Scope::kMachine) register_server(Scope::kMachine, {TARNWICK_EXE, L""});
  }
};

TEST_P(RegistrationTest, LeavesNothingBehindAndTouchesNothingElse) {
  const Views before = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  const Views registered = classes_of(GetParam());
  EXPECT_GT(registered.of_64_bit.size(), before.of_64_bit.size() + 90);
  EXPECT_GT(registered.of_32_bit.size(), before.of_32_bit.size() + 90);
  expect_untouched(before.of_64_bit, registered.of_64_bit);
  expect_untouched(before.of_32_bit, registered.of_32_bit);
  unregister_server(GetParam());
  EXPECT_EQ(classes_of(GetParam()), before);
}

TEST_P(RegistrationTest, MayBeRepeated) {
  const Views before = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  const Views once = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  EXPECT_EQ(classes_of(GetParam()), once);
  unregister_server(GetParam());
  unregister_server(GetParam());
  EXPECT_EQ(classes_of(GetParam()), before);
}

void expect_classes_and_interfaces(const Dump& dump) {
  for (const ClassEntry& entry : class_table()) {
    wchar_t clsid[39];
    wchar_t iid[39];
    StringFromGUID2(entry.clsid, clsid, 39);
    StringFromGUID2(entry.interface_id, iid, 39);
    const std::wstring class_key = L"\\CLSID\\" + std::wstring(clsid);
    EXPECT_EQ(value_in(dump, class_key + L"\\LocalServer32\\ ="),
              L"1:\"C:\\Program Files\\Tarnwick\\Tarnwick.exe\" --when-locked cancel");
    EXPECT_EQ(value_in(dump, class_key + L"\\VersionIndependentProgID\\ ="),
              std::wstring(L"1:") + entry.prog_id);
    EXPECT_EQ(value_in(dump, class_key + L"\\ProgID\\ ="),
              std::wstring(L"1:") + entry.prog_id + L".1");
    EXPECT_EQ(value_in(dump, class_key + L"\\AppID ="),
              L"1:{D696816B-1EFD-4E41-88E5-7B81F7777057}");
    const std::wstring interface_key = L"\\Interface\\" + std::wstring(iid);
    EXPECT_EQ(value_in(dump, interface_key + L"\\ ="), std::wstring(L"1:_") + entry.name);
    EXPECT_EQ(value_in(dump, interface_key + L"\\ProxyStubClsid32\\ ="),
              L"1:{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(value_in(dump, interface_key + L"\\TypeLib\\ ="),
              L"1:{C6FB57AB-9DF6-4B2C-8254-60FD472EFA72}");
  }
}

TEST_P(RegistrationTest, TellsComHowToStartAndMarshalEveryClass) {
  register_server(GetParam(), kInstallation);
  const Dump dump = classes_of_64_bit_programs(GetParam());
  expect_classes_and_interfaces(dump);
  for (const ClassEntry& entry : class_table()) {
    wchar_t clsid[39];
    StringFromGUID2(entry.clsid, clsid, 39);
    const std::wstring prog_id = std::wstring(L"\\") + entry.prog_id;
    EXPECT_EQ(value_in(dump, prog_id + L"\\CLSID\\ ="), std::wstring(L"1:") + clsid);
    EXPECT_EQ(value_in(dump, prog_id + L"\\CurVer\\ ="),
              std::wstring(L"1:") + entry.prog_id + L".1");
    EXPECT_EQ(value_in(dump, prog_id + L".1\\CLSID\\ ="), std::wstring(L"1:") + clsid);
  }
  const std::wstring library = L"\\TypeLib\\{C6FB57AB-9DF6-4B2C-8254-60FD472EFA72}\\1.0";
  for (const wchar_t* system : {L"\\0\\win64\\ =", L"\\0\\win32\\ ="}) {
    EXPECT_EQ(value_in(dump, library + system), L"1:C:\\Program Files\\Tarnwick\\Tarnwick.exe");
  }
  EXPECT_EQ(value_in(dump, L"\\AppID\\Tarnwick.exe\\AppID ="),
            L"1:{D696816B-1EFD-4E41-88E5-7B81F7777057}");
}

TEST_P(RegistrationTest, TellsProgramsOf32BitsTheSame) {
  register_server(GetParam(), kInstallation);
  expect_classes_and_interfaces(classes_of_32_bit_programs(GetParam()));
}

std::string scope_name(const ::testing::TestParamInfo<Scope>& scope) {
  return scope.param == Scope::kMachine ? "Machine" : "User";
}
INSTANTIATE_TEST_SUITE_P(Scopes, RegistrationTest, ::testing::Values(Scope::kMachine, Scope::kUser),
                         scope_name);

}  // namespace
}  // namespace tarnwick::automation::com
