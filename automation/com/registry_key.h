#pragma once

#include <optional>
#include <string>
#include <vector>

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// An open key of the registry. Functions throw Error with the system's text.
class RegistryKey {
 public:
  /// Software\Classes of the machine or of the user; made if it is not there.
  [[nodiscard]] static RegistryKey classes(HKEY root);

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
  explicit RegistryKey(HKEY key) : key_(key) {}

  HKEY key_ = nullptr;
};

}  // namespace tarnwick::automation::com
