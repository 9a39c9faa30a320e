#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/value_options.h"
#include "apps/tarnwick/maintenance/change_record.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/component_tree.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

CLI::Option* add_id(CLI::App& command, std::int16_t& id) {
  return command.add_option("ID", id, "the component's id")
      ->required()
      ->check(CLI::Range(0, 32767));
}

Row key(std::int16_t id) {
  Row row = Row::of<Component>();
  row.set<Component, "CompID">(id);
  return row;
}

void list_components(const Options& options) {
  const auto session = connect(options);
  const Loaded loaded = load_components(*session);
  list(options, loaded.rows,
       columns<Component, "CompID", "Name", "ParentID", "Priority", "MaintenanceType", "ReportCode",
               "SecurityGroup", "ServerName", "MetaID">(),
       columns<Component, "ImageIndex", "ForceDisplay", "AuthorizedRole", "RowVersion">());
  require_complete(loaded);
}

void show_tree(const Options& options) {
  const auto session = connect(options);
  const Loaded loaded = load_components(*session);
  print_tree(options, loaded.rows);
  require_complete(loaded);
}

void show_component(const Options& options, std::int16_t id, const std::string& field) {
  const auto session = connect(options);
  show(options, stored_row(*session, key(id)), field);
}

void add_component(const Options& options, std::int16_t id, const ValueOptions& values) {
  const Row given = values.given();
  const auto session = connect(options);
  add(*session, options, {.key = key(id), .given = given, .exists = "exists already"});
}

void set_component(const Options& options, std::int16_t id, const ValueOptions& values) {
  set_values(options, values.given(), Holding::kNothing, [&](const Session&) { return key(id); });
}

void delete_component(const Options& options, std::int16_t id) {
  const auto session = connect(options);
  remove(*session, key(id));
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

  using Change = void (*)(const Options&, std::int16_t, const ValueOptions&);
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& example, Change change) {
    CLI::App* command = add_command(*components, name, help, example);
    const auto id = std::make_shared<std::int16_t>();
    add_id(*command, *id);
    const auto given = std::make_shared<ValueOptions>(*command, automation::ClassId::kComponent);
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
