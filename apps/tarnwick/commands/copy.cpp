
#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/database/copy_database.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

// One end of the copy. What is empty is that of the command line's general switches.
struct End {
  std::string connect;
  std::string role;
  std::string password_file;
};

struct Arguments {
  End from;
  End to;
};

Login login_of(const Options& options, const End& end) {
  Options own = options;
  own.connect = end.connect;
  if (!end.role.empty()) own.role = end.role;
  if (!end.password_file.empty()) own.password_file = end.password_file;
  return login_of(own);
}

/// `which`: "source" or "target".
std::shared_ptr<ado::Connection> open(apps::ProgramEngines& engines, const Login& login,
                                      ado::Trace* trace, const std::string& which) {
  try {
    return open_in_role(engines.list(), login.connect_string, login.role, login.password, trace);
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "The " + which + " cannot be connected to.",
                  error.description());
  }
}

void copy(const Options& options, const Arguments& arguments) {
  const Login source = login_of(options, arguments.from);
  const Login target = login_of(options, arguments.to);
  apps::ProgramEngines engines;
  std::optional<apps::TraceFile> trace;
  if (!options.trace_file.empty()) trace.emplace(options.trace_file);
  CopiedTables tables;
  try {
    const auto from = open(engines, source, trace ? &*trace : nullptr, "source");
    const auto to = open(engines, target, trace ? &*trace : nullptr, "target");
    ProgressBar bar;
    tables = copy_database(from, to, [&](TextView table, std::size_t done, std::size_t all) {
      bar.show(table, done, all);
    });
  } catch (const OutcomeUnknown& error) {
    throw Failure(ExitCode::kUnknown,
                  "The connection was lost at the commit: nobody knows whether the rows were "
                  "copied. Look whether the target holds them all, or none.",
                  error.description());
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "Nothing was copied.", error.description());
  }
  if (options.json) {
    nlohmann::ordered_json json;
    for (const CopiedTable& table : tables) json[to_utf8(table.name)] = table.rows;
    return print_json(json);
  }
  print("Copied {} components, {} registered PCs and {} reports.\n", tables[0].rows, tables[1].rows,
        tables[2].rows);
}

// `name`: "from" or "to".
void add_end(CLI::App& command, const std::string& name, End& end) {
  command.add_option("--" + name, end.connect, "connection string of the database to copy " + name)
      ->type_name("STRING")
      ->required();
  command.add_option("--" + name + "-role", end.role, "its application role; default --role")
      ->type_name("NAME");
  command
      .add_option("--" + name + "-password-file", end.password_file,
                  "file with that role's password; default --password-file")
      ->type_name("FILE");
}

}  // namespace

void add_copy_command(CLI::App& app, CommandLine& line) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = add_command(
      app, line, "copy", "Copies all rows into another database; refuses one that holds rows.",
      "tarnwick copy --from 'Provider=Tarnwick.Embedded;Data Source=./var' --from-role dw_admin "
      "\\\n"
      "    --to 'Provider=MSOLEDBSQL;Data Source=db.example.org;Integrated Security=SSPI' \\\n"
      "    --to-role tarnwick_app",
      [arguments](const Options& options) { copy(options, *arguments); });
  add_end(*command, "from", arguments->from);
  add_end(*command, "to", arguments->to);
}

}  // namespace tarnwick::cli
