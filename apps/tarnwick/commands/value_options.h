#pragma once

#include <list>
#include <string>

#include "apps/tarnwick/session/session.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tarnwick::cli {

/// Switches that set the attributes of a record, one for each that has one.
class ValueOptions final {
 public:
  /// Makes the switches known to `command`; this must outlive it.
  ValueOptions(CLI::App& command, automation::ClassId record_class);

  /// A row that knows what was given. Throws Failure (kUsage) for a value that cannot be read.
  [[nodiscard]] Row given() const;

 private:
  struct Given {
    const Attribute* attribute;
    std::string name;
    std::string text = {};
    CLI::Option* option = nullptr;
  };

  automation::ClassId record_class_;
  std::list<Given> given_;  // their addresses are bound to the switches
};

}  // namespace tarnwick::cli
