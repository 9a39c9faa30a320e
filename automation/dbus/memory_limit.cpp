#include "automation/dbus/memory_limit.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <string>
#include <string_view>

#include "automation/dbus/error.h"

namespace tarnwick::automation::dbus {
namespace {

constexpr std::size_t kMebibyte = 1u << 20;

std::size_t page_size() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

}  // namespace

MemoryLimit::MemoryLimit(std::size_t most_bytes)
    : most_bytes_(most_bytes), statm_(::open("/proc/self/statm", O_RDONLY | O_CLOEXEC)) {}

std::size_t MemoryLimit::usual_bytes() {
  return static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) / 2 * page_size();
}

// It stands behind the first blank, in pages. Nothing where the system does not tell.
std::size_t MemoryLimit::bytes_in_use() const {
  char text[64];
  const ssize_t size = ::pread(statm_.get(), text, sizeof text, 0);
  // Untaken: the system always tells it.
  if (size <= 0) return 0;
  const std::string_view told(text, static_cast<std::size_t>(size));
  const std::size_t blank = std::min(told.find(' '), told.size() - 1);
  std::size_t pages = 0;
  std::from_chars(told.data() + blank + 1, told.data() + told.size(), pages);
  return pages * page_size();
}

void MemoryLimit::require_room() const {
  if (bytes_in_use() <= most_bytes_) return;
  // What was freed may not have been given back.
  ::malloc_trim(0);
  const std::size_t used = bytes_in_use();
  if (used <= most_bytes_) return;
  throw limit_exceeded("The service uses " + std::to_string(used / kMebibyte) +
                       " MiB of memory, and may use " + std::to_string(most_bytes_ / kMebibyte) +
                       ". Release objects, or let other clients do so");
}

}  // namespace tarnwick::automation::dbus
