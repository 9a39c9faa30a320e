#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "runtime/text.h"

namespace tarnwick::platform {

/// The file-system object: path rules and existence tests of the automation scripting run-time.
/// Separators are those of the system ("/" on Linux, "/" and "\" on Windows). A path that the
/// system cannot express (an embedded NUL, an unpaired surrogate) names nothing: the tests say
/// False.
class FileSystemObject {
 public:
  /// A regular file, or a link to one: neither a folder nor a pipe, socket or device, which could
  /// keep whoever reads them waiting, or never end.
  [[nodiscard]] bool file_exists(TextView path) const;
  [[nodiscard]] bool folder_exists(TextView path) const;
  /// All before the last component, without the separator (but "/" of "/x"); "" when there is none.
  [[nodiscard]] Text get_parent_folder_name(TextView path) const;
  /// The last component without its last extension.
  [[nodiscard]] Text get_base_name(TextView path) const;
  /// The two with exactly one separator between them.
  [[nodiscard]] Text build_path(TextView folder, TextView name) const;
};

/// `path` as the standard library's paths want it. Throws Error 5 for a path with an embedded NUL
/// or an unpaired surrogate.
[[nodiscard]] std::filesystem::path to_native_path(TextView path);

/// The path that `utf8` names, whatever the code page of the system is. On Linux, where a name is
/// any bytes, these very bytes.
[[nodiscard]] std::filesystem::path path_from_utf8(std::string_view utf8);
/// The way back.
[[nodiscard]] std::string path_to_utf8(const std::filesystem::path& path);

}  // namespace tarnwick::platform
