#pragma once

#include <cstddef>

namespace tarnwick::automation::dbus {

/// What the process may use of the machine's memory before it takes no more in: objects that are
/// few may hold texts that are long, and lists outlive the clients that filled them.
class MemoryLimit {
 public:
  explicit MemoryLimit(std::size_t most_bytes) : most_bytes_(most_bytes) {}

  /// Half of what the machine has.
  [[nodiscard]] static std::size_t usual_bytes();

  /// Throws WireError when the process uses more.
  void require_room() const;

 private:
  std::size_t most_bytes_;
};

}  // namespace tarnwick::automation::dbus
