#include "apps/tarnwick/service/service.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service/service_bus.h"
#include "client/dbus_transport.h"

namespace tarnwick::cli {
namespace {

// How long to wait for other clients before anybody is asked: as for a row.
constexpr std::chrono::seconds kTurnTime{2};
constexpr useconds_t kPollTime = 20'000;  // microseconds

// What a transport over the bus stands on.
struct Foundation {
  std::unique_ptr<platform::MessageBox> message_box;
  std::shared_ptr<TerminalInput> input;
  std::unique_ptr<ServiceBus> bus;

  std::unique_ptr<client::DbusTransport> open_transport(std::unique_ptr<ServiceBus> on) {
    bus = std::move(on);
    return std::make_unique<client::DbusTransport>(
        bus->get(),
        client::Questions{*message_box, [this](int file, const std::function<bool()>& look) {
                            input->set_meanwhile({file, look});
                          }});
  }
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

}  // namespace

std::unique_ptr<Session> open_service(const Options& options, TextView connect_string,
                                      std::unique_ptr<platform::MessageBox> message_box,
                                      std::shared_ptr<TerminalInput> input) {
  const bool named = options.system_bus || !options.address.empty();
  const auto foundation =
      std::make_shared<Foundation>(Foundation{std::move(message_box), std::move(input), nullptr});
  std::unique_ptr<client::DbusTransport> transport;
  // A service that others use cannot be told to write a trace.
  if (options.trace_file.empty()) {
    if (auto bus = ServiceBus::find(options)) {
      transport = foundation->open_transport(std::move(bus));
      if (named) {
        wait_for_turn(*transport, connect_string, *foundation->message_box);
      } else if (!transport->reserve(connect_string)) {
        transport.reset();
      }
    }
  }
  if (transport == nullptr) transport = foundation->open_transport(ServiceBus::make(options));
  return std::make_unique<Session>(foundation, std::move(transport));
}

}  // namespace tarnwick::cli
