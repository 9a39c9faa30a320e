#include "automation/com/registration.h"

#include <algorithm>
#include <array>
#include <filesystem>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/registry_key.h"

namespace tarnwick::automation::com {
namespace {

constexpr const wchar_t* kAppId = L"{D696816B-1EFD-4E41-88E5-7B81F7777057}";
constexpr const wchar_t* kExecutableName = L"Tarnwick.exe";
constexpr const wchar_t* kTypeLibraryVersion = L"1.0";
// Marshals every dual interface by its type library; part of the system.
constexpr const wchar_t* kUniversalMarshaler = L"{00020424-0000-0000-C000-000000000046}";
// Which of the keys above ours were not there before; a value of the AppID.
constexpr const wchar_t* kMadeKeys = L"MadeKeys";
constexpr std::array kSharedKeys{L"AppID", L"CLSID", L"Interface", L"TypeLib"};

std::wstring text_of(const GUID& guid) {
  std::array<wchar_t, 39> text;
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

std::wstring library_id() { return text_of(LIBID_Tarnwick); }

struct InterfaceEntry {
  std::wstring id;
  std::wstring name;
};

std::vector<InterfaceEntry> interfaces() {
  std::vector<InterfaceEntry> all;
  for (const ClassEntry& entry : class_table()) {
    all.push_back({text_of(entry.interface_id), std::wstring(L"_") + entry.name});
  }
  all.push_back({text_of(__uuidof(::_Collection)), L"_Collection"});
  return all;
}

/// Every key that is wholly ours.
std::vector<std::wstring> own_keys() {
  std::vector<std::wstring> keys;
  for (const ClassEntry& entry : class_table()) {
    keys.push_back(L"CLSID\\" + text_of(entry.clsid));
    keys.push_back(entry.prog_id);
    keys.push_back(entry.prog_id + std::wstring(L".1"));
  }
  for (const InterfaceEntry& entry : interfaces()) keys.push_back(L"Interface\\" + entry.id);
  keys.push_back(L"TypeLib\\" + library_id());
  keys.push_back(std::wstring(L"AppID\\") + kExecutableName);
  keys.push_back(std::wstring(L"AppID\\") + kAppId);
  return keys;
}

HKEY root_of(Scope scope) {
  return scope == Scope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

void write_class(const RegistryKey& classes, const ClassEntry& entry, const std::wstring& command) {
  const std::wstring title = std::wstring(L"Tarnwick ") + entry.name;
  const std::wstring clsid = text_of(entry.clsid);
  const std::wstring versioned = entry.prog_id + std::wstring(L".1");

  const RegistryKey clsid_key = classes.make(L"CLSID\\" + clsid);
  clsid_key.set(L"", title);
  clsid_key.set(L"AppID", kAppId);
  clsid_key.make(L"LocalServer32").set(L"", command);
  clsid_key.make(L"ProgID").set(L"", versioned);
  clsid_key.make(L"VersionIndependentProgID").set(L"", entry.prog_id);
  clsid_key.make(L"TypeLib").set(L"", library_id());
  clsid_key.make(L"Version").set(L"", kTypeLibraryVersion);
  static_cast<void>(clsid_key.make(L"Programmable"));

  const RegistryKey prog_id_key = classes.make(entry.prog_id);
  prog_id_key.set(L"", title);
  prog_id_key.make(L"CLSID").set(L"", clsid);
  prog_id_key.make(L"CurVer").set(L"", versioned);
  const RegistryKey versioned_key = classes.make(versioned);
  versioned_key.set(L"", title);
  versioned_key.make(L"CLSID").set(L"", clsid);
}

void write_interface(const RegistryKey& classes, const InterfaceEntry& entry) {
  const RegistryKey key = classes.make(L"Interface\\" + entry.id);
  key.set(L"", entry.name);
  key.make(L"ProxyStubClsid32").set(L"", kUniversalMarshaler);
  const RegistryKey library = key.make(L"TypeLib");
  library.set(L"", library_id());
  library.set(L"Version", kTypeLibraryVersion);
}

void write_library(const RegistryKey& classes, const std::wstring& executable) {
  const RegistryKey key = classes.make(L"TypeLib\\" + library_id() + L"\\" + kTypeLibraryVersion);
  key.set(L"", L"Tarnwick 1.0 security object model");
  key.make(L"0\\win64").set(L"", executable);
  key.make(L"FLAGS").set(L"", L"0");
  key.make(L"HELPDIR").set(L"", std::filesystem::path(executable).parent_path().wstring());
}

void write_app_id(const RegistryKey& classes, const std::vector<std::wstring>& made) {
  const RegistryKey key = classes.make(std::wstring(L"AppID\\") + kAppId);
  key.set(L"", L"Tarnwick");
  if (!made.empty()) key.set(kMadeKeys, made);
  classes.make(std::wstring(L"AppID\\") + kExecutableName).set(L"AppID", kAppId);
}

std::vector<std::wstring> keys_to_make(const RegistryKey& classes) {
  const std::wstring own = std::wstring(L"AppID\\") + kAppId;
  // A registration before this one knows what it found.
  if (classes.has(own)) return classes.make(own).texts(kMadeKeys);
  std::vector<std::wstring> absent;
  for (const wchar_t* key : kSharedKeys) {
    if (!classes.has(key)) absent.emplace_back(key);
  }
  return absent;
}

void remove_all(const RegistryKey& classes, const std::vector<std::wstring>& made) {
  for (const std::wstring& key : own_keys()) classes.remove_tree(key);
  for (const std::wstring& key : made) classes.remove_if_empty(key);
}

}  // namespace

void register_server(Scope scope, const Installation& installation) {
  const RegistryKey classes = RegistryKey::classes(root_of(scope));
  const std::vector<std::wstring> made = keys_to_make(classes);
  std::wstring command = L"\"" + installation.executable + L"\"";
  if (!installation.switches.empty()) command += L" " + installation.switches;
  try {
    remove_all(classes, {});
    write_app_id(classes, made);
    write_library(classes, installation.executable);
    for (const InterfaceEntry& entry : interfaces()) write_interface(classes, entry);
    for (const ClassEntry& entry : class_table()) write_class(classes, entry, command);
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
  const std::wstring app_id = std::wstring(L"AppID\\") + kAppId;
  std::vector<std::wstring> made;
  if (classes.has(app_id)) made = classes.make(app_id).texts(kMadeKeys);
  remove_all(classes, made);
}

}  // namespace tarnwick::automation::com
