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

void dump_into(HKEY key, const std::wstring& path, Dump& dump) {
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
    if (RegOpenKeyExW(key, name, 0, KEY_READ, &child) != ERROR_SUCCESS) continue;
    dump_into(child, path + L"\\" + name, dump);
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

Dump classes_of(Scope scope) {
  Dump dump;
  HKEY key = nullptr;
  if (RegOpenKeyExW(root_of(scope), L"Software\\Classes", 0, KEY_READ, &key) == ERROR_SUCCESS) {
    dump_into(key, L"", dump);
    RegCloseKey(key);
  }
  return dump;
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
  const Dump before = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  const Dump registered = classes_of(GetParam());
  EXPECT_GT(registered.size(), before.size() + 90);
  for (const auto& [name, value] : before) {
    ASSERT_TRUE(registered.contains(name));
    EXPECT_EQ(registered.at(name), value);
  }
  unregister_server(GetParam());
  EXPECT_EQ(classes_of(GetParam()), before);
}

TEST_P(RegistrationTest, MayBeRepeated) {
  const Dump before = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  const Dump once = classes_of(GetParam());
  register_server(GetParam(), kInstallation);
  EXPECT_EQ(classes_of(GetParam()), once);
  unregister_server(GetParam());
  unregister_server(GetParam());
  EXPECT_EQ(classes_of(GetParam()), before);
}

TEST_P(RegistrationTest, TellsComHowToStartAndMarshalEveryClass) {
  register_server(GetParam(), kInstallation);
  const Dump dump = classes_of(GetParam());
  for (const ClassEntry& entry : class_table()) {
    wchar_t clsid[39];
    wchar_t iid[39];
    StringFromGUID2(entry.clsid, clsid, 39);
    StringFromGUID2(entry.interface_id, iid, 39);
    const std::wstring class_key = L"\\CLSID\\" + std::wstring(clsid);
    const std::wstring prog_id = std::wstring(L"\\") + entry.prog_id;
    EXPECT_EQ(value_in(dump, class_key + L"\\LocalServer32\\ ="),
              L"1:\"C:\\Program Files\\Tarnwick\\Tarnwick.exe\" --when-locked cancel");
    EXPECT_EQ(value_in(dump, class_key + L"\\VersionIndependentProgID\\ ="),
              std::wstring(L"1:") + entry.prog_id);
    EXPECT_EQ(value_in(dump, class_key + L"\\ProgID\\ ="),
              std::wstring(L"1:") + entry.prog_id + L".1");
    EXPECT_EQ(value_in(dump, class_key + L"\\AppID ="),
              L"1:{D696816B-1EFD-4E41-88E5-7B81F7777057}");
    EXPECT_EQ(value_in(dump, prog_id + L"\\CLSID\\ ="), std::wstring(L"1:") + clsid);
    EXPECT_EQ(value_in(dump, prog_id + L"\\CurVer\\ ="),
              std::wstring(L"1:") + entry.prog_id + L".1");
    EXPECT_EQ(value_in(dump, prog_id + L".1\\CLSID\\ ="), std::wstring(L"1:") + clsid);
    const std::wstring interface_key = L"\\Interface\\" + std::wstring(iid);
    EXPECT_EQ(value_in(dump, interface_key + L"\\ ="), std::wstring(L"1:_") + entry.name);
    EXPECT_EQ(value_in(dump, interface_key + L"\\ProxyStubClsid32\\ ="),
              L"1:{00020424-0000-0000-C000-000000000046}");
    EXPECT_EQ(value_in(dump, interface_key + L"\\TypeLib\\ ="),
              L"1:{C6FB57AB-9DF6-4B2C-8254-60FD472EFA72}");
  }
  const std::wstring library = L"\\TypeLib\\{C6FB57AB-9DF6-4B2C-8254-60FD472EFA72}\\1.0";
  EXPECT_EQ(value_in(dump, library + L"\\0\\win64\\ ="),
            L"1:C:\\Program Files\\Tarnwick\\Tarnwick.exe");
  EXPECT_EQ(value_in(dump, L"\\AppID\\Tarnwick.exe\\AppID ="),
            L"1:{D696816B-1EFD-4E41-88E5-7B81F7777057}");
}

std::string scope_name(const ::testing::TestParamInfo<Scope>& scope) {
  return scope.param == Scope::kMachine ? "Machine" : "User";
}
INSTANTIATE_TEST_SUITE_P(Scopes, RegistrationTest, ::testing::Values(Scope::kMachine, Scope::kUser),
                         scope_name);

}  // namespace
}  // namespace tarnwick::automation::com
