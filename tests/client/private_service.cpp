#include "tests/client/private_service.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <stdexcept>

#include "automation/dbus/error.h"
#include "automation/dbus/names.h"

namespace tarnwick::test_support {
namespace {

namespace dbus = automation::dbus;

constexpr std::chrono::seconds kPatience{30};

std::string configuration(const std::string& socket) {
  return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
         "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">\n"
         "<busconfig><type>session</type><listen>unix:path=" +
         socket +
         "</listen><policy context=\"default\"><allow send_destination=\"*\"/>"
         "<allow receive_sender=\"*\"/><allow own=\"*\"/></policy></busconfig>\n";
}

void wait_until(const std::function<bool()>& condition, const char* what) {
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error(what);
    usleep(1000);
  }
}

dbus::BusHandle try_to_open(const std::string& address) {
  sd_bus* bus = nullptr;
  dbus::check(sd_bus_new(&bus), "opening the bus");
  dbus::BusHandle handle(bus);
  dbus::check(sd_bus_set_address(bus, address.c_str()), "opening the bus");
  dbus::check(sd_bus_set_bus_client(bus, 1), "opening the bus");
  if (sd_bus_start(bus) < 0) return nullptr;
  return handle;
}

}  // namespace

PrivateService::PrivateService() {
  const std::string socket = (folder_.path() / "bus").string();
  const std::string file = folder_.write("bus.conf", configuration(socket)).string();
  daemon_ = start({"dbus-daemon", "--nofork", "--config-file=" + file});
  const std::string address = "unix:path=" + socket;
  wait_until([&] { return (bus_ = try_to_open(address)) != nullptr; }, "no bus");
  service_ = start({TARNWICK_SERVER, "--address", address, "--folder", folder_.path().string(),
                    "--when-locked", "cancel"});
  wait_until([&] { return has_service(); }, "no service");
}

PrivateService::~PrivateService() {
  bus_.reset();
  end(service_, SIGTERM);
  end(daemon_, SIGTERM);
}

void PrivateService::kill_service() {
  end(service_, SIGKILL);
  wait_until([&] { return !has_service(); }, "a service");
}

pid_t PrivateService::start(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(nowhere, STDERR_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
  }
  if (process < 0) throw std::runtime_error("no process");
  return process;
}

void PrivateService::end(pid_t& process, int signal) {
  if (process <= 0) return;
  ::kill(process, signal);
  waitpid(process, nullptr, 0);
  process = -1;
}

bool PrivateService::has_service() const {
  constexpr char kBus[] = "org.freedesktop.DBus";
  dbus::ErrorHandle error;
  sd_bus_message* received = nullptr;
  dbus::check(sd_bus_call_method(bus_.get(), kBus, "/org/freedesktop/DBus", kBus, "NameHasOwner",
                                 error.get(), &received, "s", dbus::kBusName),
              "asking for the service");
  const dbus::MessageHandle reply(received);
  int owned = 0;
  dbus::check(sd_bus_message_read(reply.get(), "b", &owned), "asking for the service");
  return owned != 0;
}

}  // namespace tarnwick::test_support
