#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "apps/tarnwick/session/session.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tarnwick::cli {

/// The arguments by which a command names one record.
class KeyArguments final {
 public:
  explicit KeyArguments(ClassId record_class) : record_class_(record_class) {}

  /// Makes the arguments known to `command`; this must outlive it.
  void add_options(CLI::App& command);

  /// What they tell of the key: all of it, but of a PC's no more than was needed. Throws Failure
  /// (kUsage) for what can be no part of a key.
  [[nodiscard]] Row given() const;

 private:
  ClassId record_class_;
  std::string name_;
  std::string mac_;
  std::optional<std::int16_t> component_;
};

// The keys of a report and of a PC. That of a report throws Failure (kUsage) as KeyArguments.
[[nodiscard]] Row report_key(const std::string& name);
[[nodiscard]] Row pc_key(const PcKey& key);

/// The key that `given` tells of, where a PC may bear its MAC number for its computer id. All parts
/// of it given, nothing is read. Throws Failure: kMissing, kUsage when several rows answer.
[[nodiscard]] Row find_key(const Session& session, const Row& given);

/// The option --component, for the id of one.
CLI::Option* add_component_option(CLI::App& command, std::optional<std::int16_t>& id,
                                  const std::string& help);

}  // namespace tarnwick::cli
