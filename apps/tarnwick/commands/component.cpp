#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/output/component_tree.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

void list_components(const Options& options, const Listing& listing) {
  // What it was loaded through goes before it is looked at for long.
  Loaded loaded = load_components(*connect(options));
  listing.show(options, std::move(loaded),
               columns<Component, "CompID", "Name", "ParentID", "Priority", "MaintenanceType",
                       "ReportCode", "SecurityGroup", "ServerName", "MetaID">(),
               columns<Component, "ImageIndex", "ForceDisplay", "AuthorizedRole", "RowVersion">());
}

void show_tree(const Options& options) {
  const Loaded loaded = load_components(*connect(options));
  print_tree(options, loaded.rows);
  require_complete(loaded);
}

void add_list(CLI::App& components, CommandLine& line) {
  const auto listing = std::make_shared<Listing>(ClassId::kComponent);
  CLI::App* command =
      add_command(components, line, "list", "All components, or some of them, by id.",
                  "tarnwick component list --parent 1 --sort Priority",
                  [listing](const Options& options) { list_components(options, *listing); });
  listing->add_filter(*command, "ParentID", "only the children of this component");
  listing->add_filter(*command, "ReportCode", "only those with this report code");
  listing->add_filter(*command, "SecurityGroup", "only those of this security group");
  listing->add_filter(*command, "ServerName", "only those on this server");
  listing->add_options(*command, line);
}

void add_add(RecordCommands& one) {
  const auto values = std::make_shared<ValueOptions>(ClassId::kComponent);
  CLI::App* command = one.add(
      "add",
      "Adds a component. MetaID and AuthorizedRole are not written by the object model and "
      "stay empty.",
      "tarnwick component add 103 --name 'Returns' --parent 10 --priority 40 \\\n    "
      "--report-code PC --maintenance-type ComponentWithPCs",
      [values](const Options& options, const Row& key) {
        const Row given = values->given();
        add(*connect(options), options, {.key = key, .given = given, .exists = "exists already"});
      });
  values->add_options(*command);
}

}  // namespace

void add_component_commands(CLI::App& app, CommandLine& line) {
  CLI::App* components = add_group(app, "component", "The components of the product.");
  add_list(*components, line);
  add_csv(*add_command(*components, line, "tree", "The components as a tree, siblings by priority.",
                       "", show_tree),
          line);

  RecordCommands one(*components, line, ClassId::kComponent);
  one.add_show("One component.", "tarnwick component show 10 --field SecurityGroup");
  add_add(one);
  one.add_set("Changes fields of a component; those that are not named stay.",
              "tarnwick component set 102 --priority 15 --force-display yes",
              RecordCommands::Locking::kNever);
  one.add_delete("Deletes a component. Its PCs and its children stay as they are.",
                 "tarnwick component delete 102");
}

}  // namespace tarnwick::cli
