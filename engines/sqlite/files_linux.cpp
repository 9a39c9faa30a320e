#include "engines/sqlite/files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace tarnwick::sqlite {
namespace {

[[noreturn]] void fail(const char* what, const std::filesystem::path& file) {
  throw std::filesystem::filesystem_error(what, file,
                                          std::error_code(errno, std::generic_category()));
}

}  // namespace

void make_private_file(const std::filesystem::path& file) {
  const int opened = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (opened < 0) fail("open", file);
  ::close(opened);
}

void rename_to_new(const std::filesystem::path& file, const std::filesystem::path& name) {
  if (::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE) == 0) return;
  if (errno != EINVAL && errno != ENOSYS) fail("rename", name);
  // Some file systems know only the way in two steps.
  if (::link(file.c_str(), name.c_str()) != 0) fail("link", name);
  ::unlink(file.c_str());
}

std::filesystem::path real_path(const std::filesystem::path& file) {
  return std::filesystem::canonical(file);
}

bool may_make_files(const std::filesystem::path& folder) {
  return ::faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool is_disk_full(int code) { return code == ENOSPC || code == EFBIG || code == EDQUOT; }

}  // namespace tarnwick::sqlite
