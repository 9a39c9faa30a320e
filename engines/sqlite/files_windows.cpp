#include "engines/sqlite/files.h"

#include <windows.h>

#include <string>
#include <system_error>

namespace tarnwick::sqlite {
namespace {

/// ERROR_DISK_QUOTA_EXCEEDED, which not every SDK names.
constexpr int kDiskQuotaExceeded = 1295;

[[noreturn]] void fail(const char* what, const std::filesystem::path& file) {
  const auto code = static_cast<int>(GetLastError());
  throw std::filesystem::filesystem_error(what, file,
                                          std::error_code(code, std::system_category()));
}

}  // namespace

// On Windows who may read a file is said by its folder, and inherited.
void make_private_file(const std::filesystem::path& file) {
  const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) fail("open", file);
  CloseHandle(opened);
}

void rename_to_new(const std::filesystem::path& file, const std::filesystem::path& name) {
  if (MoveFileExW(file.c_str(), name.c_str(), MOVEFILE_WRITE_THROUGH) == 0) fail("rename", name);
}

std::filesystem::path real_path(const std::filesystem::path& file) {
  const HANDLE opened =
      CreateFileW(file.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) fail("open", file);
  std::wstring name(512, L'\0');
  DWORD size = GetFinalPathNameByHandleW(opened, name.data(), static_cast<DWORD>(name.size()), 0);
  if (size >= name.size()) {
    name.resize(size);
    size = GetFinalPathNameByHandleW(opened, name.data(), static_cast<DWORD>(name.size()), 0);
  }
  const DWORD code = size == 0 ? GetLastError() : 0;
  CloseHandle(opened);
  if (size == 0) {
    SetLastError(code);
    fail("name", file);
  }
  name.resize(size);
  return name;
}

// Only an attempt would tell.
bool may_make_files(const std::filesystem::path& /*folder*/) { return true; }

bool is_disk_full(int code) {
  return code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL ||
         code == ERROR_FILE_TOO_LARGE || code == kDiskQuotaExceeded;
}

}  // namespace tarnwick::sqlite
