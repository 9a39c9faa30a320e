#include "apps/tarnwick/service/service_bus.h"

#include <fmt/format.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>

#include "apps/tarnwick/failure.h"
#include "automation/dbus/error.h"
#include "automation/dbus/names.h"

namespace tarnwick::cli {
namespace {

namespace dbus = automation::dbus;

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";
constexpr std::string_view kSpawnErrors = "org.freedesktop.DBus.Error.Spawn.";
constexpr std::chrono::seconds kStartTime{30};
constexpr useconds_t kPollTime = 1000;  // microseconds

constexpr const char* kConfiguration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={}</listen>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

[[noreturn]] void refuse(const std::string& why) {
  throw Failure(
      ExitCode::kFailed,
      fmt::format("The service cannot be reached: {}. With --in-process it is not needed.", why));
}

// Beside this program, as in a build; otherwise where the shell finds it.
std::string service_program() {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const char* place : {"tarnwick-server", "../tarnwick-server/tarnwick-server"}) {
    const auto program = folder / place;
    if (std::filesystem::is_regular_file(program)) return program.lexically_normal().string();
  }
  return "tarnwick-server";
}

// Where a service that outlives this process may write its intermediate file; its own folder may be
// the system's.
std::vector<std::string> folder_switch() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  if (runtime == nullptr || *runtime == '\0') return {};
  const std::filesystem::path folder = std::filesystem::path(runtime) / "tarnwick";
  std::error_code error;
  std::filesystem::create_directory(folder, error);
  if (!std::filesystem::is_directory(folder, error)) return {};
  return {"--folder", folder.string()};
}

std::string text_of(const std::filesystem::path& file) {
  std::ifstream stream(file);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// Null when nobody listens there.
dbus::BusHandle try_address(const std::string& address) {
  sd_bus* bus = nullptr;
  dbus::check(sd_bus_new(&bus), "opening the bus");
  dbus::BusHandle handle(bus);
  dbus::check(sd_bus_set_address(bus, address.c_str()), "opening the bus");
  dbus::check(sd_bus_set_bus_client(bus, 1), "opening the bus");
  if (sd_bus_start(bus) < 0) return nullptr;
  return handle;
}

}  // namespace

std::unique_ptr<ServiceBus> ServiceBus::find(const Options& options) {
  std::unique_ptr<ServiceBus> found(new ServiceBus());
  try {
    if (!options.address.empty()) {
      found->bus_ = try_address(options.address);
      if (found->bus_ == nullptr) refuse("there is no bus at " + options.address);
    } else {
      sd_bus* bus = nullptr;
      const int opened = options.system_bus ? sd_bus_open_system(&bus) : sd_bus_open_user(&bus);
      found->bus_.reset(bus);
      if (options.system_bus) dbus::check(opened, "the system bus");
      if (opened < 0) return nullptr;
    }
    // The address may name a bus that is gone: the first call tells.
    try {
      if (found->has_service()) return found;
    } catch (const std::system_error&) {
      if (options.system_bus || !options.address.empty()) throw;
      return nullptr;
    }
    found->start_service_if_none_is_known(options);
    return found;
  } catch (const std::system_error& error) {
    refuse(error.what());
  }
}

bool ServiceBus::has_service() const {
  dbus::ErrorHandle error;
  sd_bus_message* received = nullptr;
  dbus::check(sd_bus_call_method(bus_.get(), kBus, kBusPath, kBus, "NameHasOwner", error.get(),
                                 &received, "s", dbus::kBusName),
              "asking the bus for the service");
  const dbus::MessageHandle reply(received);
  int owned = 0;
  dbus::check(sd_bus_message_read(reply.get(), "b", &owned), "asking the bus for the service");
  return owned != 0;
}

void ServiceBus::start_service_if_none_is_known(const Options& options) {
  dbus::ErrorHandle error;
  sd_bus_message* received = nullptr;
  if (sd_bus_call_method(bus_.get(), kBus, kBusPath, kBus, "StartServiceByName", error.get(),
                         &received, "su", dbus::kBusName, 0u) >= 0) {
    sd_bus_message_unref(received);
    return;
  }
  if (options.system_bus && error.name().starts_with(kSpawnErrors)) {
    refuse(
        fmt::format("the bus cannot start it ({}). If its installation was broken off, complete "
                    "it as root: dpkg --configure -a",
                    error.message()));
  }
  // Only its administrator lets anybody own a name on the system's bus.
  if (!error.is(SD_BUS_ERROR_SERVICE_UNKNOWN) || options.system_bus) refuse(error.message());
  const char* address = nullptr;
  dbus::check(sd_bus_get_address(bus_.get(), &address), "asking for the bus");
  // As a bus starts its services: it ends by itself.
  std::vector<std::string> command{"env", std::string("DBUS_STARTER_ADDRESS=") + address,
                                   service_program()};
  for (std::string& word : folder_switch()) command.push_back(std::move(word));
  service_ = std::make_unique<ChildProcess>(
      ChildProcess::Start{.command = std::move(command), .ends_with_us = false});
  wait_for_service();
}

std::unique_ptr<ServiceBus> ServiceBus::make(const Options& options) {
  std::unique_ptr<ServiceBus> made(new ServiceBus());
  try {
    made->open_own(options);
  } catch (const std::system_error& error) {
    refuse(error.what());
  }
  return made;
}

void ServiceBus::open_own(const Options& options) {
  scratch_ = std::make_unique<ScratchFolder>();
  const std::filesystem::path socket = scratch_->path() / "bus";
  if (socket.native().size() >= sizeof(sockaddr_un::sun_path)) {
    refuse("the name of the folder for temporary files (TMPDIR) is too long for a socket");
  }
  const std::filesystem::path configuration = scratch_->path() / "bus.conf";
  std::ofstream(configuration) << fmt::format(kConfiguration, socket.string());
  daemon_ = std::make_unique<ChildProcess>(ChildProcess::Start{
      .command = {"dbus-daemon", "--nofork", "--config-file=" + configuration.string()}});
  const std::string address = "unix:path=" + socket.string();
  const auto deadline = std::chrono::steady_clock::now() + kStartTime;
  // The socket is there before anybody listens to it.
  while ((bus_ = try_address(address)) == nullptr) {
    if (!daemon_->running()) refuse("there is no bus to share, and dbus-daemon cannot be started");
    if (std::chrono::steady_clock::now() > deadline) refuse("dbus-daemon does not start");
    usleep(kPollTime);
  }

  const std::filesystem::path log = scratch_->path() / "log";
  // Whoever is asked has a time of his own.
  std::vector<std::string> command{
      service_program(),         "--address",          address, "--folder",
      scratch_->path().string(), "--question-timeout", "86400"};
  if (!options.trace_file.empty()) {
    // It may stand in another folder.
    command.push_back("--trace");
    command.push_back(std::filesystem::absolute(options.trace_file).lexically_normal().string());
  }
  service_ = std::make_unique<ChildProcess>(
      ChildProcess::Start{.command = std::move(command), .output = log});
  try {
    wait_for_service();
  } catch (const Failure&) {
    refuse("tarnwick-server cannot be started\n" + text_of(log));
  }
}

void ServiceBus::wait_for_service() const {
  const auto deadline = std::chrono::steady_clock::now() + kStartTime;
  while (!has_service()) {
    // One that ends in order has found another one that serves this bus.
    if (!service_->running() && !has_service()) refuse("tarnwick-server cannot be started");
    if (std::chrono::steady_clock::now() > deadline) refuse("tarnwick-server does not start");
    usleep(kPollTime);
  }
}

}  // namespace tarnwick::cli
