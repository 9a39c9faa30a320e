#include "automation/com/registration.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <string_view>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/registry_key.h"

namespace tarnwick::automation::com {
namespace {

constexpr const wchar_t* kTypeLibraryVersion = L"1.0";
// Marshals every dual interface by its type library; part of the system.
constexpr const wchar_t* kUniversalMarshaler = L"{00020424-0000-0000-C000-000000000046}";
constexpr std::array<std::wstring_view, 4> kSharedKeys{L"AppID", L"CLSID", L"Interface",
                                                       L"TypeLib"};
// 32-bit programs have keys of their own under these.
constexpr std::array<std::wstring_view, 2> kRedirectedKeys{L"CLSID", L"Interface"};
// Where the system keeps them for a user. Others may lack it, and then it is there for us alone.
constexpr std::wstring_view kKeptApart = L"Wow6432Node";

std::wstring text_of(const GUID& guid) {
  std::array<wchar_t, 39> text;
  StringFromGUID2(guid, text.data(), static_cast<int>(text.size()));
  return text.data();
}

std::wstring app_id_key() { return L"AppID\\" + text_of(kAppId); }

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
      {app_id_key(), L"", L"Tarnwick"},
      {L"AppID\\Tarnwick.exe", L"AppID", text_of(kAppId)},
      {library, L"", L"Tarnwick 1.0 security object model"},
      {library + L"\\0\\win32", L"", installation.executable},
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
            {key, L"AppID", text_of(kAppId)},
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

std::wstring outermost(const std::wstring& key) { return key.substr(0, key.find(L'\\')); }

template <std::size_t kCount>
bool holds(const std::array<std::wstring_view, kCount>& keys, const std::wstring& key) {
  return std::ranges::find(keys, key) != keys.end();
}

/// The outermost key on the way to `key` that is wholly ours.
std::wstring own_key(const std::wstring& key) {
  std::size_t end = key.find(L'\\');
  if (holds(kSharedKeys, key.substr(0, end))) end = key.find(L'\\', end + 1);
  return key.substr(0, end);
}

/// The registry as programs of one kind see it, and what of a registration is written there.
struct View {
  RegistryKey classes;
  std::vector<Entry> entries;
  std::vector<std::wstring> shared;  // keys above ours
  const wchar_t* made_name;  // the value of the AppID that holds which of these were not there
};

/// The 32-bit one comes first: what the other one says is kept apart holds it.
std::vector<View> views_of(Scope scope, const Installation& installation) {
  const HKEY root = scope == Scope::kMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  std::vector<View> views;
  views.push_back({RegistryKey::classes(root, RegistryView::k32Bit),
                   {},
                   {kRedirectedKeys.begin(), kRedirectedKeys.end()},
                   L"MadeKeys32"});
  views.push_back({RegistryKey::classes(root, RegistryView::k64Bit),
                   entries(installation),
                   {kSharedKeys.begin(), kSharedKeys.end()},
                   L"MadeKeys"});
  views.back().shared.emplace_back(kKeptApart);
  std::ranges::copy_if(
      views.back().entries, std::back_inserter(views.front().entries),
      [](const Entry& entry) { return holds(kRedirectedKeys, outermost(entry.key)); });
  return views;
}

/// For each of the views, the keys above ours that are not there, and those that the registration
/// that is there had to make: it knows what it found.
std::vector<std::vector<std::wstring>> made_keys(const std::vector<View>& views) {
  const RegistryKey& classes = views.back().classes;
  const bool registered = classes.has(app_id_key());
  std::vector<std::vector<std::wstring>> made;
  for (const View& view : views) {
    auto& keys = made.emplace_back();
    if (registered) keys = classes.make(app_id_key()).texts(view.made_name);
    for (const std::wstring& key : view.shared) {
      if (!view.classes.has(key) && std::ranges::count(keys, key) == 0) keys.push_back(key);
    }
  }
  return made;
}

void remove_own_keys(const std::vector<View>& views) {
  for (const View& view : views) {
    for (const Entry& entry : view.entries) view.classes.remove_tree(own_key(entry.key));
  }
}

void remove_all(const std::vector<View>& views,
                const std::vector<std::vector<std::wstring>>& made) {
  remove_own_keys(views);
  for (std::size_t i = 0; i < views.size(); ++i) {
    for (const std::wstring& key : made[i]) views[i].classes.remove_if_empty(key);
  }
}

void write(const View& view) {
  for (const Entry& entry : view.entries) {
    const RegistryKey key = view.classes.make(entry.key);
    if (entry.text) key.set(entry.name, *entry.text);
  }
}

}  // namespace

void register_server(Scope scope, const Installation& installation) {
  const std::vector<View> views = views_of(scope, installation);
  const auto made = made_keys(views);
  try {
    remove_own_keys(views);
    for (std::size_t i = 0; i < views.size(); ++i) {
      if (made[i].empty()) continue;
      views.back().classes.make(app_id_key()).set(views[i].made_name, made[i]);
    }
    for (const View& view : views) write(view);
  } catch (const Error&) {
    try {
      remove_all(views, made);
    } catch (const Error&) {
      // What could not be written cannot be removed either; the first failure is the one to tell.
    }
    throw;
  }
}

void unregister_server(Scope scope) {
  const std::vector<View> views = views_of(scope, {});
  remove_all(views, made_keys(views));
}

}  // namespace tarnwick::automation::com
