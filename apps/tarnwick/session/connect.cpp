#include "apps/tarnwick/session/connect.h"

#include <unistd.h>

#include <chrono>
#include <iostream>
#include <memory>
#include <optional>

#include "apps/common/desktop_program.h"
#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/service/service.h"
#include "apps/tarnwick/terminal/terminal_input.h"
#include "client/in_process_transport.h"
#include "platform/linux/desktop_message_box.h"
#include "platform/linux/host.h"
#include "platform/terminal_message_box.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

void tell(TextView line) { std::cerr << to_display_utf8(line) << std::endl; }

// Asks on the desktop; where there is none, the answer is Cancel.
class DesktopOrCancel final : public platform::MessageBox {
 public:
  explicit DesktopOrCancel(std::chrono::seconds patience)
      : cancel_(platform::WhenLocked{}, tell),
        desktop_(apps::desktop_program(), patience, cancel_, tell) {}
  [[nodiscard]] platform::Answer retry_or_cancel(TextView text, TextView title,
                                                 std::uint32_t retried) override {
    return desktop_.retry_or_cancel(text, title, retried);
  }
  void inform(TextView text, TextView title) override { desktop_.inform(text, title); }

 private:
  platform::UnattendedMessageBox cancel_;
  platform::DesktopMessageBox desktop_;
};

std::unique_ptr<platform::MessageBox> make_message_box(
    const Options& options, const std::shared_ptr<const TerminalInput>& input) {
  if (options.when_locked.kind != platform::WhenLocked::Kind::kAsk) {
    return std::make_unique<platform::UnattendedMessageBox>(options.when_locked, tell);
  }
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    return std::make_unique<DesktopOrCancel>(options.question_timeout);
  }
  return std::make_unique<platform::TerminalMessageBox>(
      std::cin, std::cerr, options.question_timeout,
      [input](platform::TerminalMessageBox::Time until) { return input->wait(until); });
}

// What the object model in this very process stands on.
struct Foundation {
  Foundation(std::unique_ptr<platform::MessageBox> box, const std::string& trace_file)
      : message_box(std::move(box)),
        host(*message_box, scratch.path()),
        trace(trace_file.empty() ? std::nullopt : std::make_optional<apps::TraceFile>(trace_file)),
        state(host, engines.list(), trace ? &*trace : nullptr) {}

  std::unique_ptr<platform::MessageBox> message_box;
  // The intermediate file of field definitions: the program's own folder may not be writable.
  ScratchFolder scratch;
  platform::LinuxHost host;
  apps::ProgramEngines engines;
  std::optional<apps::TraceFile> trace;
  SharedState state;
};

std::unique_ptr<Session> open_session(const Options& options, TextView connect_string) {
  const auto input = std::make_shared<TerminalInput>();
  auto message_box = make_message_box(options, input);
  if (options.in_process) {
    const auto foundation =
        std::make_shared<Foundation>(std::move(message_box), options.trace_file);
    return std::make_unique<Session>(
        foundation, std::make_unique<client::InProcessTransport>(foundation->state));
  }
  // The service would only tell its log.
  if (!options.trace_file.empty()) const apps::TraceFile can_be_written(options.trace_file);
  return open_service(options, connect_string, std::move(message_box), input);
}

}  // namespace

Login login_of(const Options& options) {
  Text connect_string = connect_string_of(options);
  if (options.role.empty()) {
    throw Failure(ExitCode::kUsage, "Which application role? Name it by --role or TARNWICK_ROLE.");
  }
  Text role = text_argument(options.role);
  require_no_quote(role, "The role");
  return {std::move(connect_string), std::move(role), read_password(options.password_file, false)};
}

void connect_again(const Session& session, const Login& login) {
  if (!session.server().call<"SetConnection">(login.connect_string, login.role, login.password)) {
    throw Failure(ExitCode::kFailed, "The database cannot be connected to.",
                  session.last_error_msg());
  }
}

std::unique_ptr<Session> connect(const Options& options, const Login& login) {
  std::unique_ptr<Session> session = open_session(options, login.connect_string);
  connect_again(*session, login);
  return session;
}

std::unique_ptr<Session> connect(const Options& options) {
  return connect(options, login_of(options));
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
