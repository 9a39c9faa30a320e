#include "tests/engines/sqlite/killing_calls.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

namespace tarnwick::sqlite {
namespace {

// SQLite's table of system calls is one for the whole process.
int calls_left = 0;

void count_call() {
  if (--calls_left == 0) ::raise(SIGKILL);
}
int counted_open(const char* file, int flags, int mode) {
  count_call();
  return ::open(file, flags, static_cast<mode_t>(mode));
}
ssize_t counted_pwrite(int file, const void* bytes, std::size_t size, off_t offset) {
  count_call();
  return ::pwrite(file, bytes, size, offset);
}
int counted_unlink(const char* file) {
  count_call();
  return ::unlink(file);
}
int counted_ftruncate(int file, off_t size) {
  count_call();
  return ::ftruncate(file, size);
}

}  // namespace

void kill_after(int count) {
  calls_left = count;
  sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
  const auto replace = [&](const char* name, auto* call) {
    if (vfs->xSetSystemCall(vfs, name, reinterpret_cast<sqlite3_syscall_ptr>(call)) != SQLITE_OK) {
      throw std::runtime_error(name);
    }
  };
  replace("open", counted_open);
  replace("pwrite", counted_pwrite);
  replace("pwrite64", counted_pwrite);
  replace("unlink", counted_unlink);
  replace("ftruncate", counted_ftruncate);
}

}  // namespace tarnwick::sqlite
