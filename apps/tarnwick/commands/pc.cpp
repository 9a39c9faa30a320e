#include <fmt/format.h>
#include <pwd.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/pc_finder.h"
#include "apps/tarnwick/commands/value_options.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/change_record.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

using PC = RegisteredPC;

// What the commands on one PC are given; each uses a part of it.
struct Arguments {
  PcArguments pc;
  std::string field;
  std::string user;
  std::string software_version;
  bool lock_first = false;
};

struct ListArguments {
  std::optional<std::int16_t> component;
  bool active = false;
  bool inactive = false;
};

Text user_or_own(const std::string& user) {
  if (!user.empty()) return text_argument(user);
  const passwd* own = getpwuid(geteuid());
  if (own == nullptr) throw Failure(ExitCode::kUsage, "Who? Name the user by --user.");
  return text_argument(own->pw_name);
}

void list_pcs(const Options& options, const ListArguments& arguments) {
  const auto session = connect(options);
  Loaded loaded =
      arguments.component ? load_pcs_of(*session, *arguments.component) : load_pcs(*session);
  if (arguments.active)
    std::erase_if(loaded.rows, [](const Row& row) { return !row.get<PC, "Active">(); });
  if (arguments.inactive)
    std::erase_if(loaded.rows, [](const Row& row) { return row.get<PC, "Active">(); });
  list(options, loaded.rows,
       columns<PC, "ComputerID", "MACNumber", "CompID", "Active", "LastUser", "LastLogin",
               "TotalLogins", "SoftwareVersion">(),
       columns<PC, "MaintenanceType", "ImageIndex", "ActivatedBy", "ActivateDate", "DeActivatedBy",
               "DeActivatedDate", "SoftLock", "RowVersion">());
  require_complete(loaded);
}

void show_pc(const Options& options, const Arguments& arguments) {
  const WantedPc wanted = arguments.pc.wanted();
  const auto session = connect(options);
  show(options, stored_row(*session, find_key(*session, wanted)), arguments.field);
}

// A change that depends on what is stored holds the row from the reading to the writing.
void change_locked(const Options& options, const Arguments& arguments,
                   const std::function<void(Row&)>& change) {
  const WantedPc wanted = arguments.pc.wanted();
  const auto session = connect(options);
  change_record(*session, options, find_key(*session, wanted), Holding::kLock, change);
}

void log_in(const Options& options, const Arguments& arguments) {
  const Text user = user_or_own(arguments.user);
  const Text version = text_argument(arguments.software_version);
  change_locked(options, arguments, [&](Row& row) {
    row.set<PC, "LastUser">(user);
    row.set<PC, "LastLogin">(local_now());
    std::int32_t logins = row.get<PC, "TotalLogins">();
    if (__builtin_add_overflow(logins, 1, &logins)) {
      throw Failure(ExitCode::kFailed, "The count of logins is full.");
    }
    row.set<PC, "TotalLogins">(logins);
    if (!version.empty()) row.set<PC, "SoftwareVersion">(version);
  });
}

void let_in(Row& row, const Text& user) {
  row.set<PC, "Active">(true);
  row.set<PC, "ActivatedBy">(user);
  row.set<PC, "ActivateDate">(local_now());
}

void activate(const Options& options, const Arguments& arguments) {
  const Text user = user_or_own(arguments.user);
  change_locked(options, arguments, [&](Row& row) { let_in(row, user); });
}

void deactivate(const Options& options, const Arguments& arguments) {
  const Text user = user_or_own(arguments.user);
  change_locked(options, arguments, [&](Row& row) {
    row.set<PC, "Active">(false);
    row.set<PC, "DeActivatedBy">(user);
    row.set<PC, "DeActivatedDate">(local_now());
  });
}

void edit_pc(const Options& options, const Arguments& arguments) {
  const WantedPc wanted = arguments.pc.wanted();
  const auto session = connect(options);
  edit_record(*session, options, find_key(*session, wanted));
}

void delete_pc(const Options& options, const Arguments& arguments) {
  const WantedPc wanted = arguments.pc.wanted();
  const auto session = connect(options);
  const Row key = find_key(*session, wanted);
  remove(*session, key);
  fmt::print("{} deleted.\n", describe(key));
}

struct RegisterArguments {
  std::string mac;
  std::string computer;
  std::int16_t component = 0;
  std::string user;
};

void register_pc(const Options& options, const RegisterArguments& arguments,
                 const ValueOptions& values) {
  const Row key =
      pc_key(text_argument(arguments.mac), text_argument(arguments.computer), arguments.component);
  require_plain_key(key);
  Row given = key;
  let_in(given, user_or_own(arguments.user));
  given.overlay(values.given());

  const auto session = connect(options);
  add(*session, options, {.key = key, .given = given, .exists = "is registered already"});
}

void add_register_command(CLI::App& pcs, CommandLine& line) {
  CLI::App* command = add_command(
      pcs, "register", "Registers a PC as a user of a component; active unless told otherwise.",
      "tarnwick pc register 02-5A-10-00-00-01 VEL-SAL-099 --component 10 --user ewatts");
  const auto arguments = std::make_shared<RegisterArguments>();
  command->add_option("MAC", arguments->mac, "MAC number of its network adapter")->required();
  command->add_option("COMPUTER", arguments->computer, "its computer id")->required();
  command->add_option("--component", arguments->component, "id of the component")
      ->type_name("ID")
      ->required()
      ->check(CLI::Range(0, 32767));
  command->add_option("--user", arguments->user, "who activates it; you, if left out")
      ->type_name("NAME");
  const auto given = std::make_shared<ValueOptions>(*command, automation::ClassId::kRegisteredPC);
  command->callback([&line, arguments, given] {
    line.chosen = [&line, arguments, given] { register_pc(line.options, *arguments, *given); };
  });
}

void add_list_command(CLI::App& pcs, CommandLine& line) {
  CLI::App* command = add_command(pcs, "list", "All PCs, or those of one component, by MAC number.",
                                  "tarnwick pc list --component 10 --inactive");
  const auto arguments = std::make_shared<ListArguments>();
  command->add_option("--component", arguments->component, "only the PCs of this component")
      ->type_name("ID")
      ->check(CLI::Range(0, 32767));
  CLI::Option* active = command->add_flag("--active", arguments->active, "only active ones");
  command->add_flag("--inactive", arguments->inactive, "only deactivated ones")->excludes(active);
  command->callback([&line, arguments] {
    line.chosen = [&line, arguments] { list_pcs(line.options, *arguments); };
  });
}

void add_set_command(CLI::App& pcs, CommandLine& line) {
  CLI::App* command =
      add_command(pcs, "set", "Changes fields of a PC, unless somebody else changes it meanwhile.",
                  "tarnwick pc set VEL-SAL-012 --component 10 --software-version 5.0.1");
  command->alias("update");
  const auto arguments = std::make_shared<Arguments>();
  arguments->pc.add_options(*command);
  command->add_flag("--lock", arguments->lock_first, "hold the row from the reading on");
  const auto given = std::make_shared<ValueOptions>(*command, automation::ClassId::kRegisteredPC);
  command->callback([&line, arguments, given] {
    line.chosen = [&line, arguments, given] {
      const WantedPc wanted = arguments->pc.wanted();
      set_values(line.options, given->given(),
                 arguments->lock_first ? Holding::kLock : Holding::kNothing,
                 [&](const Session& session) { return find_key(session, wanted); });
    };
  });
}

}  // namespace

void add_pc_commands(CLI::App& app, CommandLine& line) {
  CLI::App* pcs = add_group(app, "pc", "The register of PCs that use the components.");
  add_list_command(*pcs, line);

  const auto add_one = [&](const std::string& name, const std::string& help,
                           const std::string& example,
                           void (*run)(const Options&, const Arguments&)) {
    CLI::App* command = add_command(*pcs, name, help, example);
    const auto arguments = std::make_shared<Arguments>();
    arguments->pc.add_options(*command);
    command->callback([&line, arguments, run] {
      line.chosen = [&line, arguments, run] { run(line.options, *arguments); };
    });
    return std::pair(command, arguments.get());
  };
  const auto add_user = [](const auto& added, const std::string& help) {
    added.first->add_option("--user", added.second->user, help + "; you, if left out")
        ->type_name("NAME");
  };

  const auto shown = add_one("show", "One PC as a user of a component.",
                             "tarnwick pc show VEL-SAL-012 --component 10", show_pc);
  shown.first->add_option("--field", shown.second->field, "this field's value alone");
  add_register_command(*pcs, line);
  const auto login = add_one("login", "Records a login: who, when, and one more.",
                             "tarnwick pc login VEL-SAL-012 --component 10 --user bjensen", log_in);
  add_user(login, "who logs in");
  login.first
      ->add_option("--software-version", login.second->software_version, "the version that it runs")
      ->type_name("TEXT");
  add_user(add_one("activate", "Lets a PC in.", "tarnwick pc activate VEL-SAL-012 --component 10",
                   activate),
           "who lets it in");
  add_user(add_one("deactivate", "Shuts a PC out; it stays registered.",
                   "tarnwick pc deactivate VEL-SAL-012 --component 10", deactivate),
           "who shuts it out");
  add_set_command(*pcs, line);
  add_one("edit", "Opens the fields of a PC in $VISUAL or $EDITOR and writes what was changed.",
          "tarnwick pc edit VEL-SAL-012 --component 10", edit_pc);
  add_one("delete", "Takes a PC out of the register.",
          "tarnwick pc delete VEL-SAL-012 --component 10", delete_pc);
}

}  // namespace tarnwick::cli
