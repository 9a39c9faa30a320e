#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>

#include "ado/connection.h"
#include "apps/common/engines.h"
#include "apps/tarnwick/commands.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/samples.h"
#include "engines/sqlite/create_database.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

constexpr TextView kDatabase = u"Velmar_Sec";

struct Arguments {
  std::string folder;
  std::string sample_folder;
  bool sample = false;
};

// Clients put role and password between quotes as they stand: with a quote in them nobody could
// ever enter the role.
void require_no_quote(TextView text, const std::string& what) {
  if (text.find(u'\'') != TextView::npos) {
    throw Failure(ExitCode::kUsage, fmt::format("{} must not hold a quote (').", what));
  }
}

// `text` as one word of the shell.
std::string shell_word(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return word + "'";
}

std::shared_ptr<ado::Connection> open(apps::ProgramEngines& engines, TextView connect_string,
                                      TextView role, TextView password) {
  auto connection = std::make_shared<ado::Connection>(engines.list());
  connection->open(connect_string);
  connection->set_default_database(kDatabase);
  connection->execute(join({u"EXEC sp_setapprole '", role, u"','", password, u"'"}));
  return connection;
}

void init(const Options& options, const Arguments& arguments) {
  if (options.role.empty()) {
    throw Failure(ExitCode::kUsage, "Which application role? Name it by --role.");
  }
  const Text role = text_argument(options.role);
  require_no_quote(role, "The role");
  const Text folder = file_argument(arguments.folder);
  std::optional<std::filesystem::path> samples;
  if (!arguments.sample_folder.empty()) {
    samples = arguments.sample_folder;
  } else if (arguments.sample) {
    samples = samples_folder();
  }
  const Text password = read_password(options.password_file, true);
  require_no_quote(password, "The password");

  const std::filesystem::path native_folder(to_utf8(folder));
  const Text connect_string = embedded_connect_string(folder);
  const auto file = native_folder / (to_utf8(kDatabase) + ".db");
  SampleCounts counts;
  try {
    sqlite::create_database(native_folder, kDatabase, role, password);
    if (samples) {
      apps::ProgramEngines engines;
      counts = insert_samples(open(engines, connect_string, role, password), *samples);
    }
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "The database was not made.", error.description());
  }
  fmt::print("Made the embedded database {}", file.string());
  if (samples) {
    fmt::print(" with {} components, {} PCs and {} reports", counts.components, counts.pcs,
               counts.reports);
  }
  fmt::print(".\nTo connect:\n  export TARNWICK_CONNECT={}\n  export TARNWICK_ROLE={}\n",
             shell_word(to_utf8(connect_string)), shell_word(options.role));
  if (!options.password_file.empty()) {
    fmt::print("  export TARNWICK_PASSWORD_FILE={}\n",
               shell_word(std::filesystem::absolute(options.password_file).string()));
  }
}

}  // namespace

void add_init_command(CLI::App& app, CommandLine& line) {
  CLI::App* command =
      add_command(app, "init", "Makes an embedded database in a folder; refuses to overwrite one.",
                  "tarnwick init ./var --role dw_admin --password-file ./password --sample");
  const auto arguments = std::make_shared<Arguments>();
  command->add_option("FOLDER", arguments->folder, "where; made if it is not there")->required();
  command->add_flag("--sample", arguments->sample, "fill it with the sample data");
  command
      ->add_option("--sample-folder", arguments->sample_folder,
                   "fill it with the sample data that lie in this folder")
      ->type_name("DIR");
  command->callback(
      [&line, arguments] { line.chosen = [&line, arguments] { init(line.options, *arguments); }; });
}

}  // namespace tarnwick::cli
