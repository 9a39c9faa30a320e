#include <poll.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "apps/common/trace_file.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service/service_bus.h"
#include "apps/tarnwick/session/message_box.h"
#include "apps/tarnwick/session/service_session.h"
#include "client/dbus_transport.h"

namespace tarnwick::cli {
namespace {

// How long to wait for other clients before anybody is asked: as for a row.
constexpr std::chrono::seconds kTurnTime{2};
constexpr useconds_t kPollTime = 20'000;  // microseconds

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

// What a transport over the bus stands on.
struct Service {
  explicit Service(const Options& options)
      : message_box(make_message_box(options, [this](Time until) { return input.wait(until); })) {}

  std::unique_ptr<client::DbusTransport> open_transport(std::unique_ptr<ServiceBus> on) {
    bus = std::move(on);
    return client::make_dbus_transport(
        bus->get(),
        client::Questions{*message_box, [this](int file, const std::function<bool()>& look) {
                            input.set_meanwhile(file, look);
                          }});
  }

  TerminalInput input;
  SharedBox message_box;
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

}  // namespace

std::unique_ptr<Session> open_service_session(const Options& options, TextView connect_string) {
  // The service would only tell its log.
  if (!options.trace_file.empty()) const apps::TraceFile can_be_written(options.trace_file);
  const auto service = std::make_shared<Service>(options);
  return std::make_unique<Session>(service, reach_service(*service, options, connect_string));
}

// The service sees the connection to the bus end.
void release_service_for_good() {}

std::string service_help() {
  return "Commands talk to the D-Bus service of the session and start it where nothing else does; "
         "without a\nsession, or where they would disturb its other clients, they start one of "
         "their "
         "own.";
}

}  // namespace tarnwick::cli
