
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/database/embedded_folder.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "engines/sqlite/upgrade_database.h"
#include "platform/file_system.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

void upgrade(const Options& options) {
  const auto folder = embedded_folder(connect_string_of(options));
  if (!folder) throw Failure(ExitCode::kUsage, "Only embedded databases are upgraded.");
  sqlite::Upgrade result;
  finish_first([&] {
    try {
      result = sqlite::upgrade_database(*folder, kDatabase);
    } catch (const Error& error) {
      throw Failure(ExitCode::kFailed, "The database was not upgraded.", error.description());
    }
  });
  const std::string file = platform::path_to_utf8(result.file);
  if (result.from != result.to) {
    print("Upgraded the embedded database {} from version {} to {}:\n", file, result.from,
          result.to);
    for (const Text& change : result.changes) print("  {}\n", to_utf8(change));
  } else if (result.to == 0) {
    print("The tables of {} were not made by tarnwick and bear no version: nothing to do.\n", file);
  } else {
    print("The embedded database {} is of version {}: nothing to do.\n", file, result.to);
  }
}

}  // namespace

void add_upgrade_command(CLI::App& app, CommandLine& line) {
  add_command(app, line, "upgrade",
              "Brings the tables of an embedded database, made by an older version of this "
              "program, up to date. Needs the right to write the file, and no role.",
              "tarnwick upgrade", upgrade);
}

}  // namespace tarnwick::cli
