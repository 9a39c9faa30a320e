#pragma once

#include <memory>

#include "apps/tarnwick/commands/commands.h"

namespace tarnwick::cli {

/// The whole program as it is described to who uses it: all switches and commands. `line` must
/// outlive it.
[[nodiscard]] std::unique_ptr<CLI::App> make_command_tree(CommandLine& line);

}  // namespace tarnwick::cli
