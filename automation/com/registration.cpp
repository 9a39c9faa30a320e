#include "automation/com/registration.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/registry_key.h"

namespace tarnwick::automation::com {
namespace {

constexpr const wchar_t* kAppId = L"{D696816B-1EFD-4E41-88E5-7B81F7777057}";
constexpr const wchar_t* kAppIdKey = L"AppID\\{D696816B-1EFD-4E41-88E5-7B81F7777057}";
constexpr const wchar_t* kTypeLibraryVersion = L"1.0";
// Marshals every dual interface by its type library; part of the system.
constexpr const wchar_t* kUniversalMarshaler = L"{00020424-0000-0000-C000-000000000046}";
// Which of the keys above ours were not there before; a value of the AppID.
constexpr const wchar_t* kMadeKeys = L"MadeKeys";
constexpr std::array<std::wstring_view, 4> kSharedKeys{L"AppID", L"CLSID", L"Interface",
                                                       L"TypeLib"};

std::wstring text_of(const GUID& guid) {
  std::array<wchar_t, 39> text;
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

/// A key and one of its values; the empty name is the key's default value.
struct Entry {
  std::wstring key;
  std::wstring name;
  std::optional<std::wstring> text;  // none: the key alone
};

/// All that a registration writes, every key of it below one that is wholly ours.
std::vector<Entry> entries(const Installation& installation) {
  std::wstring command = L"\"" + installation.executable + L"\"";
  if (!installation.switches.empty()) command += L" " + installation.switches;
  const std::wstring folder =
      std::filesystem::path(installation.executable).parent_path().wstring();
  const std::wstring library_id = text_of(LIBID_Tarnwick);
  const std::wstring library = L"TypeLib\\" + library_id + L"\\" + kTypeLibraryVersion;
  std::vector<Entry> all{
      {kAppIdKey, L"", L"Tarnwick"},
      {L"AppID\\Tarnwick.exe", L"AppID", kAppId},
      {library, L"", L"Tarnwick 1.0 security object model"},
      {library + L"\\0\\win64", L"", installation.executable},
      {library + L"\\FLAGS", L"", L"0"},
      {library + L"\\HELPDIR", L"", folder},
  };
  const auto append = [&](std::initializer_list<Entry> more) { all.insert(all.end(), more); };
  const auto append_interface = [&](const IID& iid, const std::wstring& name) {
    const std::wstring key = L"Interface\\" + text_of(iid);
    append({{key, L"", name},
            {key + L"\\ProxyStubClsid32", L"", kUniversalMarshaler},
            {key + L"\\TypeLib", L"", library_id},
            {key + L"\\TypeLib", L"Version", kTypeLibraryVersion}});
  };
  append_interface(__uuidof(::_Collection), L"_Collection");
  for (const ClassEntry& entry : class_table()) {
    append_interface(entry.interface_id, std::wstring(L"_") + entry.name);
    const std::wstring title = std::wstring(L"Tarnwick ") + entry.name;
    const std::wstring clsid = text_of(entry.clsid);
    const std::wstring key = L"CLSID\\" + clsid;
    const std::wstring prog_id = entry.prog_id;
    const std::wstring versioned = prog_id + L".1";
    append({{key, L"", title},
            {key, L"AppID", kAppId},
            {key + L"\\LocalServer32", L"", command},
            {key + L"\\ProgID", L"", versioned},
            {key + L"\\VersionIndependentProgID", L"", prog_id},
            {key + L"\\TypeLib", L"", library_id},
            {key + L"\\Version", L"", kTypeLibraryVersion},
            {key + L"\\Programmable", L"", std::nullopt},
            {prog_id, L"", title},
            {prog_id + L"\\CLSID", L"", clsid},
            {prog_id + L"\\CurVer", L"", versioned},
            {versioned, L"", title},
            {versioned + L"\\CLSID", L"", clsid}});
  }
  return all;
}

/// The outermost key on the way to `key` that is wholly ours.
std::wstring own_key(const std::wstring& key) {
  std::size_t end = key.find(L'\\');
  const bool below_others = std::ranges::count(kSharedKeys, key.substr(0, end)) > 0;
  if (below_others) end = key.find(L'\\', end + 1);
  return key.substr(0, end);
}

HKEY root_of(Scope scope) {
  return scope == Scope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

std::vector<std::wstring> absent_shared_keys(const RegistryKey& classes) {
  std::vector<std::wstring> absent;
  for (const std::wstring_view key : kSharedKeys) {
    if (!classes.has(std::wstring(key))) absent.emplace_back(key);
  }
  return absent;
}

/// What the registration that is there had to make; nothing where there is none.
std::optional<std::vector<std::wstring>> made_keys(const RegistryKey& classes) {
  if (!classes.has(kAppIdKey)) return std::nullopt;
  return classes.make(kAppIdKey).texts(kMadeKeys);
}

void remove_all(const RegistryKey& classes, const std::vector<std::wstring>& made) {
  for (const Entry& entry : entries({})) classes.remove_tree(own_key(entry.key));
  for (const std::wstring& key : made) classes.remove_if_empty(key);
}

}  // namespace

void register_server(Scope scope, const Installation& installation) {
  const RegistryKey classes = RegistryKey::classes(root_of(scope));
  // A registration before this one knows what it found.
  const auto made = made_keys(classes).value_or(absent_shared_keys(classes));
  try {
    remove_all(classes, {});
    if (!made.empty()) classes.make(kAppIdKey).set(kMadeKeys, made);
    for (const Entry& entry : entries(installation)) {
      const RegistryKey key = classes.make(entry.key);
      if (entry.text) key.set(entry.name, *entry.text);
    }
  } catch (const Error&) {
    try {
      remove_all(classes, made);
    } catch (const Error&) {
      // What could not be written cannot be removed either; the first failure is the one to tell.
    }
    throw;
  }
}

void unregister_server(Scope scope) {
  const RegistryKey classes = RegistryKey::classes(root_of(scope));
  remove_all(classes, made_keys(classes).value_or(std::vector<std::wstring>()));
}

}  // namespace tarnwick::automation::com
