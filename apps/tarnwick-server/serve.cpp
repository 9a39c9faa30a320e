#include "apps/tarnwick-server/serve.h"

#include <fmt/format.h>
#include <sys/epoll.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

#include "apps/common/desktop_program.h"
#include "apps/common/engines.h"
#include "apps/common/trace_file.h"
#include "apps/tarnwick-server/end_on_signal.h"
#include "apps/tarnwick-server/service_manager.h"
#include "automation/dbus/clients.h"
#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/lock_prompt.h"
#include "automation/dbus/memory_limit.h"
#include "automation/dbus/name_owner.h"
#include "automation/dbus/service.h"
#include "platform/linux/desktop_message_box.h"
#include "platform/linux/host.h"
#include "platform/unattended_message_box.h"
#include "state/shared_state.h"

namespace tarnwick::server_app {
namespace {

namespace dbus = automation::dbus;

// A process that the bus started for something that made no object ends too; one that was started
// by hand waits for its first client.
constexpr std::chrono::seconds kUnused{30};

// How long a call that is under way may take once the process was told to end. A service manager's
// own patience is longer, and its end of it is the same.
constexpr std::chrono::seconds kGrace{3};

// Set where a bus starts its services, and by systemd for its units.
bool started_on_demand() {
  return std::getenv("DBUS_STARTER_ADDRESS") != nullptr || std::getenv("INVOCATION_ID") != nullptr;
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// A path as it stands in an address.
std::string escaped(const std::string& path) {
  constexpr std::string_view kPlain = "-_/.\\";
  std::string text;
  for (const char each : path) {
    const bool plain = (each >= '0' && each <= '9') || (each >= 'a' && each <= 'z') ||
                       (each >= 'A' && each <= 'Z') || kPlain.find(each) != std::string_view::npos;
    text += plain ? std::string(1, each) : fmt::format("%{:02x}", static_cast<unsigned char>(each));
  }
  return text;
}

std::string address_of(const Options& options) {
  if (!options.address.empty()) return options.address;
  if (options.system_bus) {
    const std::string told = environment("DBUS_SYSTEM_BUS_ADDRESS");
    return told.empty() ? "unix:path=/run/dbus/system_bus_socket" : told;
  }
  for (const char* name : {"DBUS_STARTER_ADDRESS", "DBUS_SESSION_BUS_ADDRESS"}) {
    if (std::string told = environment(name); !told.empty()) return told;
  }
  const std::string folder = environment("XDG_RUNTIME_DIR");
  if (folder.empty())
    throw std::runtime_error("no session bus: DBUS_SESSION_BUS_ADDRESS is not set");
  return "unix:path=" + escaped(folder) + "/bus";
}

// sd-bus's own ways to these buses start the connection before anything could be said of it.
dbus::BusHandle open_bus(const std::string& address) {
  sd_bus* bus = nullptr;
  dbus::check(sd_bus_new(&bus), "opening the bus");
  dbus::BusHandle handle(bus);
  dbus::check(sd_bus_set_address(bus, address.c_str()), "opening the bus");
  dbus::check(sd_bus_set_bus_client(bus, 1), "opening the bus");
  // No call takes a file: whoever sends one has to hear of it, or it would stay open here.
  dbus::check(sd_bus_negotiate_fds(bus, 0), "opening the bus");
  dbus::check(sd_bus_start(bus), "opening the bus");
  return handle;
}

// On the system bus many clients share one user, in whose home they can have files written: nothing
// that the driver manager reads there may decide about what it loads.
void leave_home_out() {
  ::setenv("HOME", "/nonexistent", 1);
  ::setenv("ODBCINI", "/etc/odbc.ini", 0);
}

// Of this process alone: what it stands in the paths for.
std::string run_name() {
  std::random_device random;
  return fmt::format("{:08x}", random());
}

int end_loop(sd_event_source* source, int, std::uint32_t, void*) {
  return sd_event_exit(sd_event_source_get_event(source), EXIT_SUCCESS);
}

dbus::EventHandle new_event_loop() {
  sd_event* event = nullptr;
  dbus::check(sd_event_new(&event), "making an event loop");
  return dbus::EventHandle(event);
}

// Before all requests that wait: they are not carried out any more.
dbus::EventSourceHandle end_when_asked(sd_event* event, const EndOnSignal& ending) {
  sd_event_source* source = nullptr;
  dbus::check(sd_event_add_io(event, &source, ending.asked(), EPOLLIN, &end_loop, nullptr),
              "watching signals");
  dbus::EventSourceHandle handle(source);
  dbus::check(sd_event_source_set_priority(source, SD_EVENT_PRIORITY_IMPORTANT),
              "watching signals");
  return handle;
}

}  // namespace

int serve(const Options& options, const automation::Events& events) {
  // Opened before the bus is: a file that cannot be written is no reason to answer anybody.
  std::optional<apps::TraceFile> trace;
  if (!options.trace.empty()) trace.emplace(options.trace);

  if (options.system_bus) leave_home_out();
  const EndOnSignal ending(kGrace);
  const dbus::EventHandle event = new_event_loop();
  const dbus::EventSourceHandle asked_to_end = end_when_asked(event.get(), ending);
  const std::string address = address_of(options);
  const dbus::BusHandle bus = open_bus(address);
  const dbus::BusHandle side_bus = open_bus(address);

  const ServiceManager manager(event.get());
  dbus::Caller caller;
  dbus::Clients clients(bus.get(), run_name(), options.most_objects);
  const auto unanswered = [&](TextView text) {
    events.unanswered(text, from_stored_utf8(caller.name));
  };
  platform::UnattendedMessageBox unattended(options.when_locked, unanswered);
  platform::DesktopMessageBox desktop(apps::desktop_program(), options.question_timeout, unattended,
                                      unanswered);
  dbus::Departures departures(side_bus.get());
  dbus::BusMessageBox clients_box(side_bus.get(), clients, caller, options.question_timeout,
                                  desktop, unanswered);
  WatchedMessageBox message_box(manager, options.question_timeout, clients_box);
  platform::LinuxHost host(message_box, options.folder);
  apps::ProgramEngines engines(options.system_bus ? odbc::Drivers::kRegistered
                                                  : odbc::Drivers::kAny);
  SharedState state(host, engines.list(), trace ? &*trace : nullptr);
  const dbus::MemoryLimit memory(options.most_memory == 0 ? dbus::MemoryLimit::usual_bytes()
                                                          : options.most_memory << 20);
  const dbus::Service service(bus.get(), state, clients, departures, caller, memory, events);

  dbus::NameOwner name(bus.get());
  if (!name.acquire()) {
    events.ended(u"Another process serves this bus");
    return EXIT_SUCCESS;
  }
  name.end_when_idle(
      event.get(), [&] { return clients.idle(); }, options.idle,
      started_on_demand() ? std::optional(kUnused) : std::nullopt);
  dbus::check(sd_bus_attach_event(bus.get(), event.get(), SD_EVENT_PRIORITY_NORMAL),
              "attaching the bus");
  dbus::check(sd_bus_attach_event(side_bus.get(), event.get(), SD_EVENT_PRIORITY_NORMAL),
              "attaching the bus");
  dbus::check(sd_bus_set_exit_on_disconnect(bus.get(), 1), "attaching the bus");
  events.started();
  manager.ready();
  const int result = dbus::check(sd_event_loop(event.get()), "waiting for requests");
  manager.stopping();
  // Lost, or the name could not be given back over it: nothing else ends the loop with a failure.
  if (result == EXIT_SUCCESS) {
    events.ended();
  } else {
    events.ended(u"Ending, since the connection to the bus failed");
  }
  return result;
}

}  // namespace tarnwick::server_app
