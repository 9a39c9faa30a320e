#pragma once

#include <memory>
#include <span>
#include <string>

#include "apps/tarnwick/commands/commands.h"

namespace tarnwick::cli {

/// The whole program as it is described to who uses it: all switches and commands. `line` must
/// outlive it.
[[nodiscard]] std::unique_ptr<CLI::App> make_command_tree(CommandLine& line);

/// What is needed of it to read the command line `words` (without the program's name): where the
/// first word is a command, of the commands and groups beside it only those that another word
/// names.
[[nodiscard]] std::unique_ptr<CLI::App> make_command_tree(CommandLine& line,
                                                          std::span<const std::string> words);

}  // namespace tarnwick::cli
