#include "apps/tarnwick/session/connect.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <utility>

#include "apps/common/desktop_program.h"
#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/service/service_bus.h"
#include "client/dbus_transport.h"
#include "platform/linux/desktop_message_box.h"
#include "platform/linux/host.h"
#include "platform/terminal_message_box.h"

namespace tarnwick::cli {
namespace {

// How long to wait for other clients before anybody is asked: as for a row.
constexpr std::chrono::seconds kTurnTime{2};
constexpr useconds_t kPollTime = 20'000;  // microseconds

void tell(TextView line) { std::cerr << to_display_utf8(line) << std::endl; }

using Time = platform::TerminalMessageBox::Time;

// Standard input, for as long as a question is open there.
class TerminalInput final {
 public:
  // What has to be looked after meanwhile: `look` is called before the first wait and whenever
  // there is something in `file`; when it returns false, the question is moot.
  void set_meanwhile(int file, std::function<bool()> look) {
    file_ = file;
    look_ = std::move(look);
  }

  // False when nothing was typed until then, or the question is moot.
  [[nodiscard]] bool wait(Time until) const {
    using std::chrono::milliseconds;
    for (;;) {
      if (look_ && !look_()) return false;
      const auto left =
          std::chrono::ceil<milliseconds>(until - std::chrono::steady_clock::now()).count();
      if (left <= 0) return false;
      std::array<pollfd, 2> files{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{file_, POLLIN, 0}};
      poll(files.data(), files.size(), static_cast<int>(left));
      if (files[0].revents != 0) return true;
    }
  }

 private:
  int file_ = -1;
  std::function<bool()> look_;
};

// Asks on the desktop; where there is none, the answer is Cancel.
struct DesktopOrCancel {
  explicit DesktopOrCancel(std::chrono::seconds patience)
      : desktop(apps::desktop_program(), patience, cancel, tell) {}

  platform::UnattendedMessageBox cancel{platform::WhenLocked{}, tell};
  platform::DesktopMessageBox desktop;
};

using SharedBox = std::shared_ptr<platform::MessageBox>;

SharedBox make_message_box(const Options& options, const TerminalInput& input) {
  if (options.when_locked.kind != platform::WhenLocked::Kind::kAsk) {
    return std::make_shared<platform::UnattendedMessageBox>(options.when_locked, tell);
  }
  if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
    const auto both = std::make_shared<DesktopOrCancel>(options.question_timeout);
    return {both, &both->desktop};
  }
  return std::make_shared<platform::TerminalMessageBox>(
      std::cin, std::cerr, options.question_timeout,
      [&input](Time until) { return input.wait(until); });
}

// What answers the questions of a session.
struct Answering {
  explicit Answering(const Options& options) : message_box(make_message_box(options, input)) {}

  TerminalInput input;
  SharedBox message_box;
};

// What the object model in this very process stands on.
struct OwnModel : Answering {
  explicit OwnModel(const Options& options)
      : Answering(options),
        host(*message_box, scratch.path()),
        trace(options.trace_file.empty() ? nullptr
                                         : std::make_unique<apps::TraceFile>(options.trace_file)),
        state(host, engines.list(), trace.get()) {}

  // The intermediate file of field definitions: the program's own folder may not be writable.
  ScratchFolder scratch;
  platform::LinuxHost host;
  apps::ProgramEngines engines;
  std::unique_ptr<apps::TraceFile> trace;
  SharedState state;
};

// What a transport over the bus stands on.
struct Service : Answering {
  using Answering::Answering;

  std::unique_ptr<client::DbusTransport> open_transport(std::unique_ptr<ServiceBus> on) {
    bus = std::move(on);
    return client::make_dbus_transport(
        bus->get(),
        client::Questions{*message_box, [this](int file, const std::function<bool()>& look) {
                            input.set_meanwhile(file, look);
                          }});
  }

  std::unique_ptr<ServiceBus> bus;
};

void wait_for_turn(client::DbusTransport& transport, TextView connect_string,
                   platform::MessageBox& message_box) {
  for (std::uint32_t retried = 0;; ++retried) {
    const auto deadline = std::chrono::steady_clock::now() + kTurnTime;
    do {
      if (transport.reserve(connect_string)) return;
      usleep(kPollTime);
    } while (std::chrono::steady_clock::now() < deadline);
    if (message_box.retry_or_cancel(u"The service is being used by another client!",
                                    u"Service In Use", retried) != platform::Answer::kRetry) {
      break;
    }
  }
  throw Failure(ExitCode::kLocked,
                "Another client of the service maintains a record or uses another database. With "
                "--in-process the service is not needed.");
}

// In a service that can be connected without taking anything from its other clients: that of the
// bus that `options` name or of the session, or one of this process's own.
std::unique_ptr<client::DbusTransport> reach_service(Service& service, const Options& options,
                                                     TextView connect_string) {
  // A service that others use cannot be told to write a trace.
  if (!options.trace_file.empty()) return service.open_transport(ServiceBus::make(options));
  if (auto bus = ServiceBus::find(options)) {
    auto transport = service.open_transport(std::move(bus));
    if (options.system_bus || !options.address.empty()) {
      wait_for_turn(*transport, connect_string, *service.message_box);
      return transport;
    }
    if (transport->reserve(connect_string)) return transport;
  }
  return service.open_transport(ServiceBus::make(options));
}

std::unique_ptr<Session> open_session(const Options& options, TextView connect_string) {
  if (options.in_process) {
    const auto model = std::make_shared<OwnModel>(options);
    return std::make_unique<Session>(model, client::make_in_process_transport(model->state));
  }
  // The service would only tell its log.
  if (!options.trace_file.empty()) const apps::TraceFile can_be_written(options.trace_file);
  const auto service = std::make_shared<Service>(options);
  return std::make_unique<Session>(service, reach_service(*service, options, connect_string));
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
