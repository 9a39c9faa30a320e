#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace tarnwick::manual {

/// Terms and what they mean.
using Terms = std::vector<std::pair<std::string, std::string>>;

/// What a page tells that is no switch or command.
struct About {
  std::string_view section = "1";
  std::string_view version;
  Terms environment = {};  // but for the variables that stand for switches
  Terms files = {};
  std::vector<std::string> see_also = {};  // "tarnwick(1)"
  // Where the program's own help has none of them.
  std::string examples = {};
  Terms exit_status = {};
};

/// "tarnwick-pc" for the group `pc`.
[[nodiscard]] std::string page_name(const CLI::App& command);

/// The page of a program, or of a group of its commands. A program's tells of its commands, too,
/// but for those in groups, which have a page of their own.
[[nodiscard]] std::string page_of(const CLI::App& command, const About& about);

}  // namespace tarnwick::manual
