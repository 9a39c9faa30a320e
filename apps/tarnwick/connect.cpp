#include "apps/tarnwick/connect.h"

#include <unistd.h>

#include <filesystem>
#include <iostream>

#include "apps/common/engines.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/in_process_client.h"
#include "apps/tarnwick/role_connection.h"
#include "platform/terminal_message_box.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

std::unique_ptr<platform::MessageBox> make_message_box(const platform::WhenLocked& when_locked) {
  const bool asks = when_locked.kind == platform::WhenLocked::Kind::kAsk;
  if (asks && isatty(STDIN_FILENO) != 0 && isatty(STDERR_FILENO) != 0) {
    return std::make_unique<platform::TerminalMessageBox>(std::cin, std::cerr);
  }
  return std::make_unique<platform::UnattendedMessageBox>(
      when_locked, [](TextView line) { std::cerr << to_display_utf8(line) << std::endl; });
}

}  // namespace

Login login_of(const Options& options) {
  if (options.connect.empty()) {
    throw Failure(ExitCode::kUsage,
                  "Which database? Name it by --connect or TARNWICK_CONNECT, for example\n"
                  "  --connect 'Provider=Tarnwick.Embedded;Data Source=./var'");
  }
  if (options.role.empty()) {
    throw Failure(ExitCode::kUsage, "Which application role? Name it by --role or TARNWICK_ROLE.");
  }
  return {with_absolute_folder(text_argument(options.connect), std::filesystem::current_path()),
          text_argument(options.role), read_password(options.password_file, false)};
}

std::unique_ptr<Client> connect(const Options& options) {
  const Login login = login_of(options);
  auto client =
      std::make_unique<InProcessClient>(make_message_box(options.when_locked), options.trace_file);
  if (!client->set_connection(login.connect_string, login.role, login.password)) {
    throw Failure(ExitCode::kFailed, "The database cannot be connected to.",
                  client->last_error_msg());
  }
  return client;
}

std::vector<ado::HeldRow> held_rows(const Options& options) {
  const Login login = login_of(options);
  apps::ProgramEngines engines;
  try {
    return open_in_role(engines.list(), login.connect_string, login.role, login.password)
        ->held_rows();
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "The locks cannot be read.", error.description());
  }
}

}  // namespace tarnwick::cli
