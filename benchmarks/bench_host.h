#pragma once

#include <filesystem>

#include "engines/sqlite/engine.h"
#include "platform/linux/host.h"
#include "platform/unattended_message_box.h"
#include "server/server.h"

namespace tarnwick::benchmarks {

/// The object model, connected to the embedded database in `folder`, which dataset.h made.
class BenchHost {
 public:
  /// Throws std::runtime_error with the account when the connection fails.
  explicit BenchHost(const std::filesystem::path& folder);

  [[nodiscard]] SharedState& state() { return state_; }
  [[nodiscard]] Server& server() { return server_; }

 private:
  platform::UnattendedMessageBox box_;
  platform::LinuxHost host_;
  sqlite::SqliteEngine engine_;
  SharedState state_;
  Server server_;
};

}  // namespace tarnwick::benchmarks
