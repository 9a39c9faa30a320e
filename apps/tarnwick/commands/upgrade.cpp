#include <fmt/format.h>

#include <filesystem>

#include "ado/connection_string.h"
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "engines/sqlite/engine.h"
#include "engines/sqlite/upgrade_database.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

std::filesystem::path folder_of(const Options& options) {
  const Text text = connect_string_of(options);
  try {
    const auto string = ado::ConnectionString::parse(text);
    const auto provider = string.find(u"Provider");
    if (provider && equals_ignoring_case(*provider, sqlite::SqliteEngine().providers().front())) {
      return sqlite::SqliteEngine::folder_of(string);
    }
  } catch (const Error& error) {
    throw Failure(ExitCode::kUsage, to_display_utf8(error.description()));
  }
  throw Failure(ExitCode::kUsage, "Only embedded databases are upgraded.");
}

void upgrade(const Options& options) {
  const auto folder = folder_of(options);
  sqlite::Upgrade result;
  finish_first([&] {
    try {
      result = sqlite::upgrade_database(folder, kDatabase);
    } catch (const Error& error) {
      throw Failure(ExitCode::kFailed, "The database was not upgraded.", error.description());
    }
  });
  const std::string file = result.file.string();
  if (result.from != result.to) {
    fmt::print("Upgraded the embedded database {} from version {} to {}:\n", file, result.from,
               result.to);
    for (const Text& change : result.changes) fmt::print("  {}\n", to_utf8(change));
  } else if (result.to == 0) {
    fmt::print("The tables of {} were not made by tarnwick and bear no version: nothing to do.\n",
               file);
  } else {
    fmt::print("The embedded database {} is of version {}: nothing to do.\n", file, result.to);
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
