#pragma once

#include <optional>
#include <string>
#include <vector>

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// Which programs see it so: a part of the registry is kept twice.
enum class RegistryView : REGSAM { k64Bit = KEY_WOW64_64KEY, k32Bit = KEY_WOW64_32KEY };

/// An open key of the registry. Functions throw Error with the system's text.
class RegistryKey {
 public:
  /// Software\Classes of the machine or of the user, and the keys below it, as programs of one kind
  /// see them; made if it is not there.
  [[nodiscard]] static RegistryKey classes(HKEY root, RegistryView view);

  RegistryKey(RegistryKey&& other) noexcept;
  RegistryKey& operator=(RegistryKey&&) = delete;
  ~RegistryKey();

  /// The key `path` below this; made if it is not there, with all between.
  [[nodiscard]] RegistryKey make(const std::wstring& path) const;
  [[nodiscard]] bool has(const std::wstring& path) const;

  /// Sets a value; the empty name is the key's default value.
  void set(const std::wstring& name, const std::wstring& text) const;
  void set(const std::wstring& name, const std::vector<std::wstring>& texts) const;
  /// A list of texts as set() wrote it; empty where there is none.
  [[nodiscard]] std::vector<std::wstring> texts(const std::wstring& name) const;

  /// Deletes the key `path` below this with all that is in it; nothing where it is not there.
  void remove_tree(const std::wstring& path) const;
  /// Deletes the key `path` below this if nothing is in it.
  void remove_if_empty(const std::wstring& path) const;

 private:
  RegistryKey(HKEY key, RegistryView view) : key_(key), view_(view) {}

  [[nodiscard]] REGSAM access(REGSAM wanted) const { return wanted | static_cast<REGSAM>(view_); }

  HKEY key_ = nullptr;
  RegistryView view_;
};

}  // namespace tarnwick::automation::com
