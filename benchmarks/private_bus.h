#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "automation/dbus/handles.h"

namespace tarnwick::benchmarks {

/// A process that ends with its owner.
class Process {
 public:
  /// Throws std::runtime_error when it cannot be started.
  explicit Process(const std::vector<std::string>& command);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

 private:
  pid_t pid_;
};

/// A message bus of its own, with its socket in a folder.
class PrivateBus {
 public:
  explicit PrivateBus(const std::filesystem::path& folder);

  [[nodiscard]] const std::string& address() const { return address_; }
  /// A new connection. Throws std::system_error.
  [[nodiscard]] automation::dbus::BusHandle connect() const;

 private:
  std::string address_;
  Process daemon_;
};

/// Waits until somebody owns `name`. Throws std::runtime_error if nobody does for long.
void wait_for_owner(sd_bus* bus, const std::string& name);

}  // namespace tarnwick::benchmarks
