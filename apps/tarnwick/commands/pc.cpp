#include <CLI/CLI.hpp>
#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "platform/process.h"

namespace tarnwick::cli {
namespace {

using PC = RegisteredPC;

constexpr std::uint32_t kMostDays = 1'000'000;

struct ListArguments {
  std::optional<std::int16_t> component;
  bool active = false;
  bool inactive = false;
  std::optional<std::uint32_t> idle;  // days
  Listing listing{ClassId::kRegisteredPC};
};

// Who does what a command notes; each uses a part of it.
struct Doing {
  std::string user;
  std::string software_version = {};
};

struct RegisterArguments {
  std::string mac;
  std::string computer;
  std::optional<std::int16_t> component;
  std::string user;
  ValueOptions values{ClassId::kRegisteredPC};
};

Text user_or_own(const std::string& user) {
  if (!user.empty()) return text_argument(user);
  const std::optional<std::string> own = platform::user_name();
  if (!own) throw Failure(ExitCode::kUsage, "Who? Name the user by --user.");
  return text_argument(*own);
}

void list_pcs(const Options& options, const ListArguments& arguments) {
  Loaded loaded = load_pcs(*connect(options), arguments.component);
  if (arguments.active || arguments.inactive) {
    std::erase_if(loaded.rows,
                  [&](const Row& row) { return row.get<PC, "Active">() != arguments.active; });
  }
  if (arguments.idle) {
    const double since = local_now().days - *arguments.idle;
    std::erase_if(loaded.rows, [&](const Row& row) {
      const Date login = row.get<PC, "LastLogin">();
      return !login.is_zero() && login.days > since;
    });
  }
  arguments.listing.show(options, std::move(loaded),
                         columns<PC, "ComputerID", "MACNumber", "CompID", "Active", "LastUser",
                                 "LastLogin", "TotalLogins", "SoftwareVersion">(),
                         columns<PC, "MaintenanceType", "ImageIndex", "ActivatedBy", "ActivateDate",
                                 "DeActivatedBy", "DeActivatedDate", "SoftLock", "RowVersion">());
}

// What a command changes in a row.
using Change = std::function<void(Row&)>;

Change log_in(const Doing& doing) {
  return
      [user = user_or_own(doing.user), version = text_argument(doing.software_version)](Row& row) {
        row.set<PC, "LastUser">(user);
        row.set<PC, "LastLogin">(local_now());
        std::int32_t logins = row.get<PC, "TotalLogins">();
        if (__builtin_add_overflow(logins, 1, &logins)) {
          throw Failure(ExitCode::kFailed, "The count of logins is full.");
        }
        row.set<PC, "TotalLogins">(logins);
        if (!version.empty()) row.set<PC, "SoftwareVersion">(version);
      };
}

Change let_in(const Doing& doing) {
  return [user = user_or_own(doing.user)](Row& row) {
    row.set<PC, "Active">(true);
    row.set<PC, "ActivatedBy">(user);
    row.set<PC, "ActivateDate">(local_now());
  };
}

Change shut_out(const Doing& doing) {
  return [user = user_or_own(doing.user)](Row& row) {
    row.set<PC, "Active">(false);
    row.set<PC, "DeActivatedBy">(user);
    row.set<PC, "DeActivatedDate">(local_now());
  };
}

void register_pc(const Options& options, const RegisterArguments& arguments) {
  const Row key = pc_key(
      {text_argument(arguments.mac), text_argument(arguments.computer), *arguments.component});
  require_plain_key(key);
  Row given = key;
  let_in({arguments.user})(given);
  given.overlay(arguments.values.given());

  const auto session = connect(options);
  add(*session, options, {.key = key, .given = given, .exists = "is registered already"});
}

void add_register(CLI::App& pcs, CommandLine& line) {
  const auto arguments = std::make_shared<RegisterArguments>();
  CLI::App* command =
      add_command(pcs, line, "register",
                  "Registers a PC as a user of a component; active unless told otherwise.",
                  "tarnwick pc register 02-5A-10-00-00-01 VEL-SAL-099 --component 10 --user ewatts",
                  [arguments](const Options& options) { register_pc(options, *arguments); });
  command->add_option("MAC", arguments->mac, "MAC number of its network adapter")->required();
  command->add_option("COMPUTER", arguments->computer, "its computer id")->required();
  add_component_option(*command, arguments->component, "id of the component")->required();
  command->add_option("--user", arguments->user, "who activates it; you, if left out")
      ->type_name("NAME");
  arguments->values.add_options(*command);
}

void add_list(CLI::App& pcs, CommandLine& line) {
  const auto arguments = std::make_shared<ListArguments>();
  CLI::App* command =
      add_command(pcs, line, "list", "All PCs, or some of them, by MAC number.",
                  "tarnwick pc list --component 10 --idle 90 --sort LastLogin",
                  [arguments](const Options& options) { list_pcs(options, *arguments); });
  add_component_option(*command, arguments->component, "only the PCs of this component");
  CLI::Option* active = command->add_flag("--active", arguments->active, "only active ones");
  command->add_flag("--inactive", arguments->inactive, "only deactivated ones")->excludes(active);
  command
      ->add_option("--idle", arguments->idle,
                   "only those without a login for so many days, or without any")
      ->type_name("DAYS")
      ->check(CLI::Range(std::uint32_t{0}, kMostDays).description(""));
  Listing& listing = arguments->listing;
  listing.add_filter(*command, "LastUser", "only those that this user logged in at last", "--user");
  listing.add_filter(*command, "SoftwareVersion", "only those that run this version");
  listing.add_options(*command, line);
}

// A change that depends on what is stored holds the row from the reading to the writing.
CLI::App* add_change(RecordCommands& one, const std::string& name, const std::string& help,
                     const std::string& example, const std::shared_ptr<Doing>& doing,
                     Change (*change)(const Doing&), const std::string& who) {
  CLI::App* command =
      one.add(name, help, example, [doing, change](const Options& options, const Row& given) {
        const Change wanted = change(*doing);
        const auto session = connect(options);
        change_record(*session, options, find_key(*session, given), Holding::kLock, wanted);
      });
  command->add_option("--user", doing->user, who + "; you, if left out")->type_name("NAME");
  return command;
}

}  // namespace

void add_pc_commands(CLI::App& app, CommandLine& line) {
  CLI::App* pcs = add_group(app, "pc", "The register of PCs that use the components.");
  RecordCommands one(*pcs, line, ClassId::kRegisteredPC);
  const auto doing = std::make_shared<Doing>();
  add_list(*pcs, line);
  one.add_show("One PC as a user of a component.", "tarnwick pc show VEL-SAL-012 --component 10");
  add_register(*pcs, line);
  add_change(one, "login", "Records a login: who, when, and one more.",
             "tarnwick pc login VEL-SAL-012 --component 10 --user bjensen", doing, log_in,
             "who logs in")
      ->add_option("--software-version", doing->software_version, "the version that it runs")
      ->type_name("TEXT");
  add_change(one, "activate", "Lets a PC in.", "tarnwick pc activate VEL-SAL-012 --component 10",
             doing, let_in, "who lets it in");
  add_change(one, "deactivate", "Shuts a PC out; it stays registered.",
             "tarnwick pc deactivate VEL-SAL-012 --component 10", doing, shut_out,
             "who shuts it out");
  one.add_set("Changes fields of a PC, unless somebody else changes it meanwhile.",
              "tarnwick pc set VEL-SAL-012 --component 10 --software-version 5.0.1",
              RecordCommands::Locking::kByChoice);
  one.add_edit("Opens the fields of a PC in $VISUAL or $EDITOR and writes what was changed.",
               "tarnwick pc edit VEL-SAL-012 --component 10");
  one.add_delete("Takes a PC out of the register.",
                 "tarnwick pc delete VEL-SAL-012 --component 10");
}

}  // namespace tarnwick::cli
