#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>

#include "platform/unattended_message_box.h"

namespace CLI {
class App;
}

namespace tarnwick::server_app {

/// The switches of the service.
struct Options {
  bool system_bus = false;
  /// Of a bus; empty: the session bus, or the system bus.
  std::string address;
  platform::WhenLocked when_locked;
  /// How long a question stays open before it is answered Cancel.
  std::chrono::seconds question_timeout{60};
  /// Where the intermediate payload file goes; empty: the folder of the executable.
  std::filesystem::path folder;
  /// Empty: no trace.
  std::filesystem::path trace;
  /// What one client may hold at once.
  std::size_t most_objects = 131072;
  /// MiB of memory beyond which the service takes nothing more in; 0: half of the machine's.
  std::size_t most_memory = 0;
  /// How long the service stays without an object that somebody holds.
  std::chrono::seconds idle{2};
};

/// Tells `app` what the service is and its switches; `options` must outlive it.
void add_options(CLI::App& app, Options& options);

}  // namespace tarnwick::server_app
