
#include <iostream>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

void hold(const Options& options, const Row& given) {
  const auto session = connect(options);
  const Row key = find_key(*session, given);
  const Record record = lock(*session, key);
  print("{} locked. Press Enter to release it.\n", describe(key));
  flush_output();
  std::string ignored;
  std::getline(std::cin, ignored);
  record.release();
  print("{} released.\n", describe(key));
}

}  // namespace

void add_lock_commands(CLI::App& app, CommandLine& line) {
  CLI::App* locks = add_group(app, "lock", "The rows that are being maintained.");
  add_lock_list_command(*locks, line);

  CLI::App* holding = add_group(*locks, "hold", "Locks a row and keeps it until Enter is pressed.",
                                "tarnwick lock hold report 'Open Orders'");
  const auto add_hold = [&](ClassId record_class, const std::string& name,
                            const std::string& help) {
    RecordCommands(*holding, line, record_class).add(name, help, "", hold);
  };
  add_hold(ClassId::kComponent, "component", "Holds a component.");
  add_hold(ClassId::kRegisteredPC, "pc", "Holds a PC as a user of a component.");
  add_hold(ClassId::kReport, "report", "Holds a report.");
}

}  // namespace tarnwick::cli
