#pragma once

#include <functional>
#include <string>

#include "apps/tarnwick/options.h"

namespace CLI {
class App;
}

namespace tarnwick::cli {

/// What a command does once the whole command line is read. Throws Failure.
using Run = std::function<void(const Options& options)>;

/// What the parts of the command line share while it is read.
struct CommandLine {
  Options options;
  Run chosen;  // the command that was asked for
};

/// A group of commands; `example` is shown at the end of its help.
CLI::App* add_group(CLI::App& parent, const std::string& name, const std::string& help,
                    const std::string& example = {});

/// A command under `parent`. What `run` holds is to be made known to the command that is returned.
CLI::App* add_command(CLI::App& parent, CommandLine& line, const std::string& name,
                      const std::string& help, const std::string& example, Run run);

// Each makes its commands known to `app`; `line` must outlive it.
void add_init_command(CLI::App& app, CommandLine& line);
void add_check_command(CLI::App& app, CommandLine& line);
void add_component_commands(CLI::App& app, CommandLine& line);
void add_pc_commands(CLI::App& app, CommandLine& line);
void add_report_commands(CLI::App& app, CommandLine& line);
void add_lock_commands(CLI::App& app, CommandLine& line);
void add_lock_list_command(CLI::App& locks, CommandLine& line);
void add_copy_command(CLI::App& app, CommandLine& line);
void add_role_commands(CLI::App& app, CommandLine& line);
void add_upgrade_command(CLI::App& app, CommandLine& line);
void add_file_commands(CLI::App& app, CommandLine& line);

}  // namespace tarnwick::cli
