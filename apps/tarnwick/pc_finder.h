#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "apps/tarnwick/client.h"

namespace CLI {
class App;
}

namespace tarnwick::cli {

/// The arguments by which a command names one row of the register, and how it is found.
class PcFinder final {
 public:
  /// Makes the arguments known to `command`; this must outlive it.
  void add_options(CLI::App& command);

  /// The row's key. All three parts of it given, nothing is read; otherwise the register is loaded
  /// and searched. Throws Failure: kMissing, kUsage when several rows answer.
  [[nodiscard]] PcRow find(Client& client) const;

 private:
  std::string computer_;
  std::string mac_;
  std::optional<std::int16_t> component_;
};

}  // namespace tarnwick::cli
