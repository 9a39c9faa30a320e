#include "apps/tarnwick/session/connect.h"

#include <memory>
#include <utility>

#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/session/message_box.h"
#include "apps/tarnwick/session/service_session.h"
#include "platform/file_system.h"
#include "platform/system_host.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

// What the object model in this very process stands on.
struct OwnModel {
  explicit OwnModel(const Options& options)
      : message_box(make_message_box(options, platform::line_comes_until)),
        host(platform::make_host(*message_box, scratch.path())),
        trace(options.trace_file.empty() ? nullptr
                                         : std::make_unique<apps::TraceFile>(
                                               platform::path_from_utf8(options.trace_file))),
        state(*host, engines.list(), trace.get()) {}

  SharedBox message_box;
  // The intermediate file of field definitions: the program's own folder may not be writable.
  ScratchFolder scratch;
  std::unique_ptr<platform::Host> host;
  apps::ProgramEngines engines;
  std::unique_ptr<apps::TraceFile> trace;
  SharedState state;
};

std::unique_ptr<Session> open_session(const Options& options, TextView connect_string) {
  if (!options.in_process) return open_service_session(options, connect_string);
  const auto model = std::make_shared<OwnModel>(options);
  return std::make_unique<Session>(model, client::make_in_process_transport(model->state));
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

}  // namespace tarnwick::cli
