#include "automation/dbus/memory_limit.h"

#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "automation/dbus/error.h"

namespace tarnwick::automation::dbus {
namespace {

constexpr std::size_t kMebibyte = 1u << 20;

std::size_t page_size() { return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)); }

// Nothing where the system does not tell.
std::size_t bytes_in_use() {
  std::ifstream file("/proc/self/statm");
  std::size_t all = 0;
  std::size_t resident = 0;
  file >> all >> resident;
  return file ? resident * page_size() : 0;
}

}  // namespace

std::size_t MemoryLimit::usual_bytes() {
  return static_cast<std::size_t>(::sysconf(_SC_PHYS_PAGES)) / 2 * page_size();
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
