#include "apps/tarnwick/commands/record_commands.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/completion/values.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "apps/tarnwick/terminal/editing.h"

namespace tarnwick::cli {

CLI::App* RecordCommands::add(const std::string& name, const std::string& help,
                              const std::string& example, RunOnRecord run) {
  const auto key = std::make_shared<KeyArguments>(record_class_);
  CLI::App* command =
      add_command(group_, line_, name, help, example,
                  [key, run](const Options& options) { run(options, key->given()); });
  key->add_options(*command);
  return command;
}

void RecordCommands::add_show(const std::string& help, const std::string& example) {
  const auto field = std::make_shared<std::string>();
  CLI::App* command = add("show", help, example, [field](const Options& options, const Row& given) {
    auto session = connect(options);
    const Row row = seen_row(*session, find_key(*session, given));
    // Nobody has to wait for who reads.
    session.reset();
    show(options, row, *field);
  });
  std::vector<std::string> names;
  for (const Attribute& attribute : client::attributes_of(record_class_)) {
    names.emplace_back(attribute.name());
  }
  note_values(*command->add_option("--field", *field, "this field's value alone"), names);
  add_csv(*command, line_);
}

void RecordCommands::add_edit(const std::string& help, const std::string& example) {
  add("edit", help, example, [](const Options& options, const Row& given) {
    const auto session = connect(options);
    change_record(*session, options, find_key(*session, given), Holding::kNothing, edit_row);
  });
}

void RecordCommands::add_delete(const std::string& help, const std::string& example) {
  add("delete", help, example, [](const Options& options, const Row& given) {
    const auto session = connect(options);
    const Row key = find_key(*session, given);
    remove(*session, key);
    print("{} deleted.\n", describe(key));
  });
}

void RecordCommands::add_set(const std::string& help, const std::string& example, Locking locking) {
  const auto values = std::make_shared<ValueOptions>(record_class_);
  const auto lock_first = std::make_shared<bool>(false);
  CLI::App* command =
      add("set", help, example, [values, lock_first](const Options& options, const Row& given) {
        const Row wanted = values->given();
        if (!wanted.any()) {
          throw Failure(ExitCode::kUsage, "Nothing to set: name a field and its value.");
        }
        const auto session = connect(options);
        change_record(*session, options, find_key(*session, given),
                      *lock_first ? Holding::kLock : Holding::kNothing,
                      [&](Row& row) { row.overlay(wanted); });
      });
  command->alias("update");
  if (locking == Locking::kByChoice) {
    command->add_flag("--lock", *lock_first, "hold the row from the reading on");
  }
  values->add_options(*command);
}

}  // namespace tarnwick::cli
