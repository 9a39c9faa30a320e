#include "automation/com/registry_key.h"

#include <utility>

#include "automation/com/errors.h"
#include "platform/windows/wide.h"

namespace tarnwick::automation::com {
namespace {

void check(LSTATUS status, const std::wstring& path) {
  if (status == ERROR_SUCCESS) return;
  const auto code = static_cast<DWORD>(status);
  throw Error(HRESULT_FROM_WIN32(code),
              join({u"The registry key ", platform::from_wide(path), u": ", system_message(code)}));
}

DWORD bytes(std::size_t characters) { return static_cast<DWORD>(characters * sizeof(wchar_t)); }

HKEY make_key(HKEY parent, const std::wstring& path, REGSAM access) {
  HKEY key = nullptr;
  check(RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, access, nullptr, &key, nullptr), path);
  return key;
}

}  // namespace

RegistryKey RegistryKey::classes(HKEY root, RegistryView view) {
  const REGSAM access = KEY_ALL_ACCESS | static_cast<REGSAM>(view);
  return {make_key(root, L"Software\\Classes", access), view};
}

RegistryKey::RegistryKey(RegistryKey&& other) noexcept
    : key_(std::exchange(other.key_, nullptr)), view_(other.view_) {}

RegistryKey::~RegistryKey() {
  if (key_ != nullptr) RegCloseKey(key_);
}

RegistryKey RegistryKey::make(const std::wstring& path) const {
  return {make_key(key_, path, access(KEY_ALL_ACCESS)), view_};
}

bool RegistryKey::has(const std::wstring& path) const {
  HKEY key = nullptr;
  if (RegOpenKeyExW(key_, path.c_str(), 0, access(KEY_READ), &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

void RegistryKey::set(const std::wstring& name, const std::wstring& text) const {
  check(RegSetValueExW(key_, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       bytes(text.size() + 1)),
        name);
}

void RegistryKey::set(const std::wstring& name, const std::vector<std::wstring>& texts) const {
  std::wstring joined;
  for (const std::wstring& text : texts) joined += text + L'\0';
  check(RegSetValueExW(key_, name.c_str(), 0, REG_MULTI_SZ,
                       reinterpret_cast<const BYTE*>(joined.c_str()), bytes(joined.size() + 1)),
        name);
}

std::vector<std::wstring> RegistryKey::texts(const std::wstring& name) const {
  DWORD size = 0;
  if (RegGetValueW(key_, nullptr, name.c_str(), RRF_RT_REG_MULTI_SZ, nullptr, nullptr, &size) !=
      ERROR_SUCCESS) {
    return {};
  }
  std::wstring joined(size / sizeof(wchar_t), L'\0');
  check(
      RegGetValueW(key_, nullptr, name.c_str(), RRF_RT_REG_MULTI_SZ, nullptr, joined.data(), &size),
      name);
  std::vector<std::wstring> texts;
  for (const wchar_t* text = joined.c_str(); *text != L'\0'; text += texts.back().size() + 1) {
    texts.emplace_back(text);
  }
  return texts;
}

void RegistryKey::remove_tree(const std::wstring& path) const {
  // The function that deletes a whole tree knows no views.
  HKEY key = nullptr;
  const LSTATUS opened = RegOpenKeyExW(key_, path.c_str(), 0, access(KEY_ALL_ACCESS), &key);
  if (opened == ERROR_FILE_NOT_FOUND) return;
  check(opened, path);
  const LSTATUS emptied = RegDeleteTreeW(key, nullptr);
  RegCloseKey(key);
  check(emptied, path);
  check(RegDeleteKeyExW(key_, path.c_str(), static_cast<REGSAM>(view_), 0), path);
}

void RegistryKey::remove_if_empty(const std::wstring& path) const {
  HKEY key = nullptr;
  if (RegOpenKeyExW(key_, path.c_str(), 0, access(KEY_READ), &key) != ERROR_SUCCESS) return;
  DWORD keys = 0;
  DWORD values = 0;
  const LSTATUS status = RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                          &values, nullptr, nullptr, nullptr, nullptr);
  RegCloseKey(key);
  check(status, path);
  if (keys == 0 && values == 0) {
    check(RegDeleteKeyExW(key_, path.c_str(), static_cast<REGSAM>(view_), 0), path);
  }
}

}  // namespace tarnwick::automation::com
