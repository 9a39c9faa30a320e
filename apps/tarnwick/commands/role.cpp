#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/database/embedded_folder.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "apps/tarnwick/terminal/pager.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "engines/sqlite/database_roles.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

using sqlite::DatabaseRoles;
using Change = DatabaseRoles::Change;

struct Arguments {
  std::string name;
  std::string new_password_file;
};

std::string quoted(const std::string& name) { return fmt::format("'{}'", printable(name)); }

// The name of a role in a statement for SQL Server.
std::string bracketed(const std::string& name) {
  std::string text = "[";
  for (const char c : printable(name)) text += c == ']' ? std::string("]]") : std::string(1, c);
  return text + "]";
}

Text role_argument(const std::string& argument) {
  if (argument.empty()) throw Failure(ExitCode::kUsage, "The name of the role is empty.");
  Text name = text_argument(argument);
  require_no_quote(name, "The name of the role");
  return name;
}

// Enters the database. `on_sql_server`: the statement by which its administrator does the same.
DatabaseRoles open_roles(const Options& options, const std::string& on_sql_server) {
  const auto folder = embedded_folder(connect_string_of(options));
  if (!folder) {
    throw Failure(
        ExitCode::kUsage,
        fmt::format("Only embedded databases keep their roles themselves. Those of an SQL "
                    "Server are its administrator's, in the database Velmar_Sec:\n  {}",
                    on_sql_server));
  }
  const Login login = login_of(options);
  try {
    return {*folder, kDatabase, login.role, login.password};
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "The database cannot be connected to.", error.description());
  }
}

// What `step` yields; an error in it is the end of the command.
template <class Step>
auto or_fail(const std::string& sentence, Step&& step) {
  try {
    return step();
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, sentence, error.description());
  }
}

void require_done(Change change, const std::string& name) {
  switch (change) {
    case Change::kDone:
      return;
    case Change::kExists:
      throw Failure(ExitCode::kFailed, fmt::format("There is a role {} already.", quoted(name)));
    case Change::kMissing:
      throw Failure(ExitCode::kMissing, fmt::format("There is no role {}.", quoted(name)));
    case Change::kLast:
      throw Failure(ExitCode::kFailed,
                    fmt::format("{} is the last role: without one nobody could enter the database. "
                                "Add another one first.",
                                quoted(name)));
  }
}

// The new password of a role: a file is read before anything is connected, but the terminal is
// asked only once it is known that the role can have it.
class NewPassword final {
 public:
  explicit NewPassword(const Arguments& arguments) : arguments_(arguments) {
    if (!arguments_.new_password_file.empty()) read();
  }
  [[nodiscard]] const Text& get() {
    if (!password_) read();
    return *password_;
  }

 private:
  void read() {
    password_ = read_new_password(arguments_.new_password_file, printable(arguments_.name));
  }

  const Arguments& arguments_;
  std::optional<Text> password_;
};

void list_roles(const Options& options) {
  DatabaseRoles roles =
      open_roles(options, "SELECT name FROM sys.database_principals WHERE type = 'A'");
  const auto names = or_fail("The roles cannot be read.", [&] { return roles.names(); });
  auto array = nlohmann::ordered_json::array();
  for (const Text& name : names) array.push_back({{"Name", to_display_utf8(name)}});
  if (options.json) return print_json(array);
  if (options.csv) return page(options, csv_text({"Name"}, array));
  Table table;
  table.add_column("Name");
  for (const Text& name : names) table.add_line({to_display_utf8(name)});
  page(options, table.text());
}

void add_role(const Options& options, const Arguments& arguments) {
  const Text name = role_argument(arguments.name);
  NewPassword password(arguments);
  DatabaseRoles roles = open_roles(
      options, fmt::format("CREATE APPLICATION ROLE {} WITH PASSWORD = '...', DEFAULT_SCHEMA = dbo"
                           "\nwith the rights that schema/sqlserver.sql grants.",
                           bracketed(arguments.name)));
  or_fail("The role was not added.", [&] {
    if (roles.has(name)) require_done(Change::kExists, arguments.name);
    const Text& text = password.get();
    finish_first([&] { require_done(roles.add(name, text), arguments.name); });
  });
  print("Role {} added.\n", quoted(arguments.name));
}

void set_password(const Options& options, const Arguments& arguments) {
  const Text name = role_argument(arguments.name);
  NewPassword password(arguments);
  DatabaseRoles roles = open_roles(
      options,
      fmt::format("ALTER APPLICATION ROLE {} WITH PASSWORD = '...'", bracketed(arguments.name)));
  or_fail("The password was not changed.", [&] {
    if (!roles.has(name)) require_done(Change::kMissing, arguments.name);
    const Text& text = password.get();
    finish_first([&] { require_done(roles.set_password(name, text), arguments.name); });
  });
  print("Role {} has a new password. Who is connected stays so; the next connection needs it.\n",
        quoted(arguments.name));
}

void remove_role(const Options& options, const Arguments& arguments) {
  const Text name = role_argument(arguments.name);
  DatabaseRoles roles =
      open_roles(options, fmt::format("DROP APPLICATION ROLE {}", bracketed(arguments.name)));
  or_fail("The role was not removed.",
          [&] { finish_first([&] { require_done(roles.remove(name), arguments.name); }); });
  print("Role {} removed. Who is connected in it stays so.\n", quoted(arguments.name));
}

}  // namespace

void add_role_commands(CLI::App& app, CommandLine& line) {
  CLI::App* roles = add_group(app, "role",
                              "The application roles of an embedded database. Whoever may enter "
                              "one and write the file may change them.");
  add_csv(
      *add_command(*roles, line, "list", "All roles, by name.", "tarnwick role list", list_roles),
      line);

  const auto add_one = [&](const std::string& name, const std::string& help,
                           const std::string& example, bool takes_password,
                           void (*run)(const Options&, const Arguments&)) {
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command =
        add_command(*roles, line, name, help, example,
                    [arguments, run](const Options& options) { run(options, *arguments); });
    command->add_option("NAME", arguments->name, "the role's name")->required();
    if (takes_password) {
      command
          ->add_option("--new-password-file", arguments->new_password_file,
                       "file whose first line is its password; without it the terminal asks twice")
          ->type_name("FILE");
    }
  };
  add_one("add", "Adds a role, which may do what every role may.",
          "tarnwick role add dw_office --new-password-file ./new-password", true, add_role);
  add_one("password",
          "Gives a role another password. Who is connected stays so; the next connection needs it.",
          "tarnwick role password dw_admin --new-password-file ./new-password", true, set_password);
  add_one("remove", "Removes a role; the last one stays. Who is connected in it stays so.",
          "tarnwick role add dw_office --new-password-file ./new-password\n"
          "  tarnwick role remove dw_office",
          false, remove_role);
}

}  // namespace tarnwick::cli
