#pragma once

#include <string>
#include <vector>

namespace CLI {
class Option;
}

namespace tarnwick::cli {

/// What may stand where an option or an argument wants a value, as far as that can be told.
struct Values {
  enum class Kind {
    kAny,
    kListed,
    kFile,
    kFolder,
    // What bears such a name is in the database.
    kComponent,
    kComputer,
    kMacNumber,
    kReport,
  };
  Kind kind = Kind::kAny;
  std::vector<std::string> listed = {};
};

/// The values of `option`: what was noted of it, or what its type name, or as an argument its own,
/// says in the help.
[[nodiscard]] Values values_of(CLI::Option& option);

// Note what the help's names do not say. The help stays as it is.
void note_values(CLI::Option& option, const std::vector<std::string>& listed);
void note_report(CLI::Option& option);

}  // namespace tarnwick::cli
