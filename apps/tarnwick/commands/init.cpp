
#include <CLI/CLI.hpp>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "apps/common/engines.h"
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/database/fill_database.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/database/samples.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/files/record_folder.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/shell_words.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "engines/sqlite/create_database.h"
#include "platform/file_system.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

struct Arguments {
  std::string folder;
  std::string from;
  bool sample = false;
};

void init(const Options& options, const Arguments& arguments) {
  if (options.role.empty()) {
    throw Failure(ExitCode::kUsage, "Which application role? Name it by --role.");
  }
  const Text role = text_argument(options.role);
  require_no_quote(role, "The role");
  const Text folder = file_argument(arguments.folder);
  std::optional<RecordFolder> records;
  if (!arguments.from.empty()) {
    records = read_folder(platform::path_from_utf8(arguments.from));
  } else if (arguments.sample) {
    records = read_folder(samples_folder());
  }
  const Text password = read_password(options.password_file, true);
  require_no_quote(password, "The password");

  const std::filesystem::path native_folder = platform::to_native_path(folder);
  const Text connect_string = embedded_connect_string(folder);
  const auto file = native_folder / (to_utf8(kDatabase) + ".db");
  std::function<void(TextView)> fill;
  if (records) {
    fill = [&](TextView name) {
      apps::ProgramEngines engines;
      fill_database(open_in_role(engines.list(), connect_string, role, password, nullptr, name),
                    *records);
    };
  }
  finish_first([&] {
    try {
      // The database appears with all that is to be in it, or not at all.
      sqlite::create_database(native_folder, kDatabase, role, password, fill);
    } catch (const Error& error) {
      throw Failure(ExitCode::kFailed, "The database was not made.", error.description());
    }
  });
  print("Made the embedded database {}", platform::path_to_utf8(file));
  if (records) {
    const auto& [components, pcs, reports] = *records;
    print(" with {} components, {} PCs and {} reports", components.size(), pcs.size(),
          reports.size());
  }
  Variables variables{{"TARNWICK_CONNECT", to_utf8(connect_string)},
                      {"TARNWICK_ROLE", options.role}};
  if (!options.password_file.empty()) {
    variables.emplace_back("TARNWICK_PASSWORD_FILE",
                           platform::path_to_utf8(std::filesystem::absolute(
                               platform::path_from_utf8(options.password_file))));
  }
  print(".\n{}", setting_lines("To connect", variables));
}

}  // namespace

void add_init_command(CLI::App& app, CommandLine& line) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = add_command(
      app, line, "init", "Makes an embedded database in a folder; refuses to overwrite one.",
      "tarnwick init ./var --role dw_admin --password-file ./password --sample",
      [arguments](const Options& options) { init(options, *arguments); });
  command->add_option("FOLDER", arguments->folder, "where; made if it is not there")->required();
  command->add_flag("--sample", arguments->sample, "fill it with the sample data");
  command
      ->add_option("--from,--sample-folder", arguments->from,
                   "fill it with what lies in this folder, as export writes it")
      ->type_name("DIR");
}

}  // namespace tarnwick::cli
