#include "benchmarks/private_bus.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "automation/dbus/error.h"

namespace tarnwick::benchmarks {
namespace {

namespace dbus = automation::dbus;

constexpr std::chrono::seconds kPatience{30};

// Calls `condition` until it is true.
template <class Condition>
void wait_until(Condition condition, const std::string& what) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("in vain: " + what);
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

pid_t start(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  pid_t pid = 0;
  if (posix_spawnp(&pid, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    throw std::runtime_error(command.front() + " cannot be started");
  }
  return pid;
}

std::vector<std::string> daemon_command(const std::filesystem::path& folder,
                                        const std::string& address) {
  const std::filesystem::path config = folder / "bus.conf";
  std::ofstream(config) << "<!DOCTYPE busconfig PUBLIC "
                           "\"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
                           "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
                           "<busconfig><type>session</type><listen>"
                        << address
                        << "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
                           "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>\n";
  return {"dbus-daemon", "--nofork", "--config-file=" + config.string()};
}

}  // namespace

Process::Process(const std::vector<std::string>& command) : pid_(start(command)) {}

Process::~Process() {
  kill(pid_, SIGTERM);
  waitpid(pid_, nullptr, 0);
}

PrivateBus::PrivateBus(const std::filesystem::path& folder)
    : address_("unix:path=" + (folder / "bus").string()),
      daemon_(daemon_command(folder, address_)) {
  wait_until([&] { return std::filesystem::exists(folder / "bus"); }, "waited for dbus-daemon");
}

dbus::BusHandle PrivateBus::connect() const {
  sd_bus* made = nullptr;
  dbus::check(sd_bus_new(&made), "opening the bus");
  dbus::BusHandle bus(made);
  dbus::check(sd_bus_set_address(made, address_.c_str()), "opening the bus");
  dbus::check(sd_bus_set_bus_client(made, 1), "opening the bus");
  dbus::check(sd_bus_start(made), "opening the bus");
  return bus;
}

void wait_for_owner(sd_bus* bus, const std::string& name) {
  wait_until([&] { return sd_bus_get_name_creds(bus, name.c_str(), 0, nullptr) >= 0; },
             "waited for an owner of " + name);
}

}  // namespace tarnwick::benchmarks
