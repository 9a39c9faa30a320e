#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/connection.h"
#include "apps/tarnwick/output/holds.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {

/// The rows that any process maintains, asked of the database itself: the object model does not
/// tell.
class HeldRows final {
 public:
  /// Connects in the role. `engines` outlive this. Throws Failure and Error.
  HeldRows(ado::Engines engines, Login login);

  /// At the moment. Throws Error.
  [[nodiscard]] std::vector<Hold> read();

  [[nodiscard]] const std::shared_ptr<ado::Connection>& connection() const { return connection_; }

  /// Why what was read names no sessions of the server that holds the rows; empty where it does,
  /// and where there is no server.
  [[nodiscard]] const std::string& note() const { return note_; }

 private:
  void name_sessions(std::vector<Hold>& holds);

  ado::Engines engines_;
  Login login_;
  std::shared_ptr<ado::Connection> connection_;
  std::optional<std::filesystem::path> folder_;  // of an embedded database
  std::shared_ptr<ado::Connection> outside_;     // of any role; made when it is needed
  std::string note_;
};

}  // namespace tarnwick::cli
