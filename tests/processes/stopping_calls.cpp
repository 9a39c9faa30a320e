#include "tests/processes/stopping_calls.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdarg>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarnwick::test_support {
namespace {

// SQLite's table of system calls is one for the whole process.
struct Order {
  int calls_left = 0;
  bool half = false;
  std::function<void()> stop;
};
Order order;

bool is_due() { return order.calls_left > 0 && --order.calls_left == 0; }

void stop_if_due() {
  if (is_due()) order.stop();
}

template <class Write>
ssize_t stopping_write(const char* bytes, std::size_t size, Write&& write) {
  if (is_due()) {
    if (order.half && write(bytes, size / 2) < 0) throw std::runtime_error("half a write failed");
    order.stop();
  }
  return write(bytes, size);
}

ssize_t my_write(int file, const void* bytes, std::size_t size) {
  return stopping_write(static_cast<const char*>(bytes), size,
                        [&](const char* from, std::size_t count) {
                          // The rest, or the whole, is written again from the same place.
                          const off_t place = lseek(file, 0, SEEK_CUR);
                          const ssize_t written = ::write(file, from, count);
                          if (count != size) lseek(file, place, SEEK_SET);
                          return written;
                        });
}

ssize_t my_pwrite(int file, const void* bytes, std::size_t size, off_t offset) {
  return stopping_write(
      static_cast<const char*>(bytes), size,
      [&](const char* from, std::size_t count) { return ::pwrite(file, from, count, offset); });
}

int my_ftruncate(int file, off_t size) {
  stop_if_due();
  return ::ftruncate(file, size);
}

int my_fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (command == F_SETLK) stop_if_due();
  return ::fcntl(file, command, argument);
}

template <class Function>
void replace(const char* name, Function* function) {
  sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
  const int code =
      system->xSetSystemCall(system, name, reinterpret_cast<sqlite3_syscall_ptr>(function));
  if (code != SQLITE_OK) throw std::runtime_error(std::string("no system call ") + name);
}

}  // namespace

void stop_at_system_call(int count, bool half, std::function<void()> stop) {
  order = {count, half, std::move(stop)};
  static_assert(sizeof(off_t) == 8);
  replace("write", my_write);
  replace("pwrite", my_pwrite);
  replace("pwrite64", my_pwrite);
  replace("ftruncate", my_ftruncate);
  replace("fcntl", my_fcntl);
}

}  // namespace tarnwick::test_support
