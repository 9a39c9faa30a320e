#include "platform/windows/payload_folder.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/windows/api.h"
#include "platform/windows/host.h"

#include <shlobj.h>  // behind windows.h

namespace tarnwick::platform {
namespace {

// Another program may take the folder away between its making and its opening.
constexpr int kAttempts = 3;

/// Empty where Windows knows of none.
std::filesystem::path known_folder(const KNOWNFOLDERID& id) {
  wchar_t* found = nullptr;
  std::filesystem::path path;
  if (SUCCEEDED(SHGetKnownFolderPath(id, 0, nullptr, &found))) path = found;
  CoTaskMemFree(found);
  return path;
}

bool is_same(const std::filesystem::path& one, const std::filesystem::path& other) {
  return CompareStringOrdinal(one.c_str(), -1, other.c_str(), -1, TRUE) == CSTR_EQUAL;
}

bool is_below(const std::filesystem::path& path, const std::filesystem::path& above) {
  if (above.empty()) return false;
  const auto [rest, end] = std::ranges::mismatch(path, above, is_same);
  return end == above.end();
}

/// Never shared with whoever wants to delete it.
HANDLE open_folder(const std::filesystem::path& folder, DWORD shared) {
  return CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY, shared, nullptr, OPEN_EXISTING,
                     FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

bool can_write(const std::filesystem::path& folder) {
  const std::wstring name = L"Tarnwick-" + std::to_wstring(GetCurrentProcessId()) + L".tmp";
  const HANDLE file = CreateFileW((folder / name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                  FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  CloseHandle(file);
  return true;
}

}  // namespace

std::filesystem::path choose_payload_folder(const std::filesystem::path& executable_folder,
                                            std::span<const std::filesystem::path> program_folders,
                                            const std::filesystem::path& users_folder) {
  const bool is_for_programs = std::ranges::any_of(
      program_folders,
      [&](const std::filesystem::path& folder) { return is_below(executable_folder, folder); });
  // Who may write among programs, an administrator, leaves nothing there either.
  return !is_for_programs && can_write(executable_folder) ? executable_folder : users_folder;
}

PayloadFolder::PayloadFolder(std::filesystem::path given) : path_(std::move(given)) {
  if (!path_.empty()) return;
  const std::vector<std::filesystem::path> program_folders{known_folder(FOLDERID_ProgramFiles),
                                                           known_folder(FOLDERID_ProgramFilesX86)};
  const std::filesystem::path users_folder = known_folder(FOLDERID_LocalAppData) / "Tarnwick";
  path_ = choose_payload_folder(std::filesystem::path(executable_file_name()).parent_path(),
                                program_folders, users_folder);
  if (path_ != users_folder) return;
  for (int i = 0; i < kAttempts && held_ == INVALID_HANDLE_VALUE; ++i) {
    // What cannot be made shows when a payload is written, in the account of that.
    std::error_code ignored;
    std::filesystem::create_directories(path_, ignored);
    held_ = open_folder(path_, FILE_SHARE_READ | FILE_SHARE_WRITE);
  }
}

PayloadFolder::~PayloadFolder() {
  if (held_ == INVALID_HANDLE_VALUE) return;
  CloseHandle(held_);
  const HANDLE alone = open_folder(path_, 0);
  if (alone == INVALID_HANDLE_VALUE) return;
  std::error_code ignored;
  std::filesystem::remove(path_ / "TTX.bin", ignored);
  CloseHandle(alone);
  // Stays where somebody has put something else into it.
  std::filesystem::remove(path_, ignored);
}

}  // namespace tarnwick::platform
