#pragma once

#include <cstddef>

#include "runtime/descriptor_linux.h"

namespace tarnwick::automation::dbus {

/// What the process may use of the machine's memory before it takes no more in: objects that are
/// few may hold texts that are long, and lists outlive the clients that filled them.
class MemoryLimit {
 public:
  explicit MemoryLimit(std::size_t most_bytes);

  /// Half of what the machine has.
  [[nodiscard]] static std::size_t usual_bytes();

  /// Throws WireError when the process uses more.
  void require_room() const;

 private:
  [[nodiscard]] std::size_t bytes_in_use() const;

  std::size_t most_bytes_;
  Descriptor statm_;  // kept open: it is read with every text that comes in
};

}  // namespace tarnwick::automation::dbus
