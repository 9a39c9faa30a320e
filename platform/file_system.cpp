#include "platform/file_system.h"

#include <system_error>

#include "runtime/error.h"

namespace tarnwick::platform {
namespace {

constexpr bool kWindows = std::filesystem::path::preferred_separator == L'\\';
constexpr char16_t kSeparator = kWindows ? u'\\' : u'/';

constexpr TextView kSeparators = kWindows ? u"\\/" : u"/";

bool is_separator(char16_t c) { return kSeparators.find(c) != TextView::npos; }

bool ends_with_drive([[maybe_unused]] TextView path) {
  if constexpr (kWindows) return path.ends_with(u':');
  return false;
}

TextView without_separators_at_end(TextView path) {
  while (!path.empty() && is_separator(path.back())) path.remove_suffix(1);
  return path;
}

/// Length of all before the last component, the separators that end it included.
std::size_t folder_length(TextView path) {
  std::size_t length = path.size();
  while (length > 0 && !is_separator(path[length - 1])) --length;
  return length;
}

std::filesystem::file_status status_of(TextView path) {
  try {
    std::error_code ignored;  // whatever cannot be looked at is not there
    return std::filesystem::status(to_native_path(path), ignored);
  } catch (const Error&) {
    return std::filesystem::file_status(std::filesystem::file_type::not_found);
  }
}

}  // namespace

bool FileSystemObject::file_exists(TextView path) const {
  return std::filesystem::is_regular_file(status_of(path));
}

bool FileSystemObject::folder_exists(TextView path) const {
  return std::filesystem::is_directory(status_of(path));
}

Text FileSystemObject::get_parent_folder_name(TextView path) const {
  const TextView trimmed = without_separators_at_end(path);
  const TextView folder = trimmed.substr(0, folder_length(trimmed));
  const TextView parent = without_separators_at_end(folder);
  const bool root = parent.empty() || ends_with_drive(parent);
  return Text(root ? folder.substr(0, parent.size() + 1) : parent);
}

Text FileSystemObject::get_base_name(TextView path) const {
  const TextView trimmed = without_separators_at_end(path);
  const TextView name = trimmed.substr(folder_length(trimmed));
  return Text(name.substr(0, name.rfind(u'.')));
}

Text FileSystemObject::build_path(TextView folder, TextView name) const {
  if (folder.empty()) return Text(name);
  if (name.empty()) return Text(folder);
  while (!name.empty() && is_separator(name.front())) name.remove_prefix(1);
  return join({without_separators_at_end(folder), TextView(&kSeparator, 1), name});
}

std::filesystem::path to_native_path(TextView path) {
  if (path.find(u'\0') != TextView::npos) throw Error(ErrorNumber::kInvalidProcedureCall);
  return path_from_utf8(to_utf8(path));
}

std::filesystem::path path_from_utf8(std::string_view utf8) {
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string path_to_utf8(const std::filesystem::path& path) {
  const std::u8string utf8 = path.u8string();
  return std::string(utf8.begin(), utf8.end());
}

}  // namespace tarnwick::platform
