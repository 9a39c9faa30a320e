#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "apps/tarnwick/session/session.h"

namespace CLI {
class App;
}

namespace tarnwick::cli {

/// What a command says of the one row of the register that it means.
struct WantedPc {
  Text computer;  // a computer id, or a MAC number
  Text mac;       // empty: any
  std::optional<std::int16_t> component;
};

/// The arguments by which a command names one row of the register.
class PcArguments final {
 public:
  /// Makes the arguments known to `command`; this must outlive it.
  void add_options(CLI::App& command);

  /// Throws Failure (kUsage) for what can be no part of a key.
  [[nodiscard]] WantedPc wanted() const;

 private:
  std::string computer_;
  std::string mac_;
  std::optional<std::int16_t> component_;
};

/// What names a row of the register.
[[nodiscard]] Row pc_key(const Text& mac_number, const Text& computer_id, std::int16_t comp_id);

/// The row's key. All three parts of it given, nothing is read. Throws Failure: kMissing, kUsage
/// when several rows answer.
[[nodiscard]] Row find_key(const Session& session, const WantedPc& wanted);

}  // namespace tarnwick::cli
