#pragma once

#include <list>
#include <string>

#include "apps/tarnwick/session/session.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tarnwick::cli {

/// Switches that set the attributes of a record, one for each that has one, and one more for a long
/// text that may stand in a file.
class ValueOptions final {
 public:
  explicit ValueOptions(ClassId record_class) : record_class_(record_class) {}

  /// Makes the switches known to `command`; this must outlive it.
  void add_options(CLI::App& command);

  /// A row that knows what was given. Throws Failure (kUsage) for a value that cannot be read.
  [[nodiscard]] Row given() const;

 private:
  struct Given {
    const Attribute* attribute;
    std::string name;
    std::string text = {};
    CLI::Option* option = nullptr;
  };
  struct GivenByFile {
    const Attribute* attribute;
    std::string file = {};
  };

  ClassId record_class_;
  // Their addresses are bound to the switches.
  std::list<Given> given_;
  std::list<GivenByFile> given_by_file_;
};

}  // namespace tarnwick::cli
