#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "apps/tarnwick/commands.h"
#include "apps/tarnwick/component_tree.h"
#include "apps/tarnwick/connect.h"
#include "apps/tarnwick/field_options.h"
#include "apps/tarnwick/loading.h"
#include "apps/tarnwick/maintenance.h"

namespace tarnwick::cli {
namespace {

CLI::Option* add_id(CLI::App& command, std::int16_t& id) {
  return command.add_option("ID", id, "the component's id")
      ->required()
      ->check(CLI::Range(0, 32767));
}

ComponentRow key(std::int16_t id) {
  ComponentRow row;
  row.comp_id = id;
  return row;
}

void list_components(const Options& options) {
  const auto client = connect(options);
  const auto loaded = load_components(*client);
  list(options, loaded.rows,
       {"CompID", "Name", "ParentID", "Priority", "MaintenanceType", "ReportCode", "SecurityGroup",
        "ServerName", "MetaID"});
  require_complete(loaded);
}

void show_tree(const Options& options) {
  const auto client = connect(options);
  const auto loaded = load_components(*client);
  print_tree(options, loaded.rows);
  require_complete(loaded);
}

void show_component(const Options& options, std::int16_t id, const std::string& field) {
  const auto client = connect(options);
  const auto record = new_record(*client, key(id));
  load(*client, *record, describe(key(id)));
  show(options, row_of(*record), field);
}

// A component's properties are read-only, so a change is written by a new object with all values,
// which writes without a comparison of versions: `values` must be fresh. `step`: how.
void write_component(Client& client, const Options& options, const ComponentRow& before,
                     const ComponentRow& values, UpdateErrorEnum (ComponentRecord::*step)()) {
  const auto record = new_record(client, values);
  write(client, options, *record, before, values, [&] { return (*record.*step)(); });
  tell_written(client, options, before, values);
}

void add_component(const Options& options, std::int16_t id,
                   const FieldOptions<ComponentRow>& given) {
  ComponentRow values = key(id);
  given.apply(values);
  const auto client = connect(options);
  const auto record = new_record(*client, key(id));
  if (load_if_there(*client, *record, describe(values))) {
    throw Failure(ExitCode::kFailed, describe(values) + " exists already.");
  }
  write_component(*client, options, key(id), values, &ComponentRecord::insert);
}

void set_component(const Options& options, std::int16_t id,
                   const FieldOptions<ComponentRow>& given) {
  if (!given.any()) throw Failure(ExitCode::kUsage, "Nothing to set: name a field and its value.");
  ComponentRow values = key(id);
  given.apply(values);  // what cannot be read is refused before anything is done
  const auto client = connect(options);
  const auto record = new_record(*client, key(id));
  load(*client, *record, describe(key(id)));
  const ComponentRow before = row_of(*record);
  values = before;
  given.apply(values);
  write_component(*client, options, before, values, &ComponentRecord::update);
}

void delete_component(const Options& options, std::int16_t id) {
  const auto client = connect(options);
  remove(*client, key(id));
  fmt::print("{} deleted.\n", describe(key(id)));
}

}  // namespace

void add_component_commands(CLI::App& app, CommandLine& line) {
  CLI::App* components = add_group(app, "component", "The components of the product.");

  add_command(*components, "list", "All components, by id.")->callback([&line] {
    line.chosen = [&line] { list_components(line.options); };
  });
  add_command(*components, "tree", "The components as a tree, siblings by priority.")
      ->callback([&line] { line.chosen = [&line] { show_tree(line.options); }; });

  struct IdArguments {
    std::int16_t id = 0;
    std::string field;
  };
  const auto shown = std::make_shared<IdArguments>();
  CLI::App* show_command = add_command(*components, "show", "One component.",
                                       "tarnwick component show 10 --field SecurityGroup");
  add_id(*show_command, shown->id);
  show_command->add_option("--field", shown->field, "this field's value alone");
  show_command->callback([&line, shown] {
    line.chosen = [&line, shown] { show_component(line.options, shown->id, shown->field); };
  });

  using Change = void (*)(const Options&, std::int16_t, const FieldOptions<ComponentRow>&);
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& example, Change change) {
    CLI::App* command = add_command(*components, name, help, example);
    const auto id = std::make_shared<std::int16_t>();
    add_id(*command, *id);
    const auto given = std::make_shared<FieldOptions<ComponentRow>>(*command);
    command->callback([&line, id, given, change] {
      line.chosen = [&line, id, given, change] { change(line.options, *id, *given); };
    });
    return command;
  };
  add_change("add",
             "Adds a component. MetaID and AuthorizedRole are not written by the object model and "
             "stay empty.",
             "tarnwick component add 103 --name 'Returns' --parent 10 --priority 40 \\\n    "
             "--report-code PC --maintenance-type ComponentWithPCs",
             add_component);
  add_change("set", "Changes fields of a component; those that are not named stay.",
             "tarnwick component set 102 --priority 15 --force-display yes", set_component)
      ->alias("update");

  const auto deleted = std::make_shared<IdArguments>();
  CLI::App* delete_command = add_command(
      *components, "delete", "Deletes a component. Its PCs and its children stay as they are.",
      "tarnwick component delete 102");
  add_id(*delete_command, deleted->id);
  delete_command->callback([&line, deleted] {
    line.chosen = [&line, deleted] { delete_component(line.options, deleted->id); };
  });
}

}  // namespace tarnwick::cli
