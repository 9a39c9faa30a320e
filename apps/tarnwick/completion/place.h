#pragma once

#include <map>
#include <span>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace tarnwick::cli {

/// Where in a command line somebody is typing.
struct Place {
  CLI::App* command = nullptr;  // the innermost one that the words before lead to
  /// The option or argument whose value is being typed; null where that is none.
  CLI::Option* option = nullptr;
  /// Behind "--" there are no more options.
  bool only_arguments = false;
  std::string
      kept;  // the beginning of the word that stays, whatever it is completed to: "--field="
  std::string typed;  // what is to be completed
  std::map<CLI::Option*, std::string> given;
};

/// `words` are those behind the name of `program`; the last one is being typed.
[[nodiscard]] Place find_place(CLI::App& program, std::span<const std::string> words);

/// The option or argument named `name` of the command or of those around it, and null if there is
/// none.
[[nodiscard]] CLI::Option* find_option(CLI::App& command, const std::string& name);

/// What was typed for the option, or else what its environment variable says.
[[nodiscard]] std::string value_given(const Place& place, const std::string& name);

}  // namespace tarnwick::cli
