// Shows the PCs of a component and records that somebody logged in on one of them.
//
// Usage: record_login MAC-NUMBER COMPUTER COMPONENT USER
//
// The database comes from TARNWICK_CONNECT, TARNWICK_ROLE and TARNWICK_PASSWORD_FILE, as with the
// command line. Needs Debian's libsystemd-dev and nothing else:
//
//   g++ -std=c++20 record_login.cpp -o record_login -lsystemd

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

const std::string kName = "org.tarnwick.Security1";
constexpr int kOk = 0;  // OK_ue
// A call may have to wait for a row that somebody maintains, or for somebody's answer.
constexpr std::uint64_t kPatience = 120'000'000;  // microseconds

using Bus = std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)>;
using Message = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

Message own(sd_bus_message* message) { return {message, &sd_bus_message_unref}; }

/// A call that was answered with an error.
class CallFailed : public std::runtime_error {
 public:
  explicit CallFailed(const sd_bus_error& error)
      : std::runtime_error(error.message == nullptr ? "" : error.message), name_(error.name) {}
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string name_;
};

int check(int result) {
  if (result < 0) throw std::runtime_error("the bus does not work");
  return result;
}

/// An object of the service.
class Thing {
 public:
  Thing(sd_bus* bus, std::string path, const std::string& interface)
      : bus_(bus), path_(std::move(path)), interface_(kName + "." + interface) {}

  /// Calls a method with arguments as sd_bus_message_append takes them; returns the reply.
  template <class... Arguments>
  Message call(const char* method, const char* types = "", Arguments... arguments) const {
    return call_interface(interface_.c_str(), method, types, arguments...);
  }

  /// Calls a method and reads its result, which is of the type `T`.
  template <class T, class... Arguments>
  T result_of(const char* method, const char* types = "", Arguments... arguments) const {
    return read<T>(call(method, types, arguments...).get());
  }

  template <class T>
  [[nodiscard]] T get(const char* property) const {
    const Message reply = call_interface("org.freedesktop.DBus.Properties", "Get", "ss",
                                         interface_.c_str(), property);
    check(sd_bus_message_enter_container(reply.get(), 'v', nullptr));
    return read<T>(reply.get());
  }

  template <class T>
  void set(const char* property, const char* type, T value) const {
    call_interface("org.freedesktop.DBus.Properties", "Set", "ssv", interface_.c_str(), property,
                   type, value);
  }

  template <class T>
  static T read(sd_bus_message* message) {
    if constexpr (std::is_same_v<T, std::string>) {
      const char* text = nullptr;
      char type = 0;
      check(sd_bus_message_peek_type(message, &type, nullptr));  // a text or an object's path
      check(sd_bus_message_read_basic(message, type, static_cast<void*>(&text)));
      return text;
    } else if constexpr (std::is_same_v<T, bool>) {
      int value = 0;
      check(sd_bus_message_read_basic(message, 'b', &value));
      return value != 0;
    } else {
      T value = 0;
      check(sd_bus_message_read_basic(message, sizeof(T) == 2 ? 'n' : 'i', &value));
      return value;
    }
  }

 private:
  template <class... Arguments>
  Message call_interface(const char* interface, const char* method, const char* types,
                         Arguments... arguments) const {
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_method_call(bus_, &made, kName.c_str(), path_.c_str(), interface,
                                         method));
    const Message message = own(made);
    check(sd_bus_message_append(message.get(), types, arguments...));
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    if (sd_bus_call(bus_, message.get(), kPatience, &error, &reply) < 0) {
      const CallFailed failure(error);
      sd_bus_error_free(&error);
      throw failure;
    }
    return own(reply);
  }

  sd_bus* bus_;
  std::string path_;
  std::string interface_;
};

struct Pc {
  std::string computer;
  std::string last_user;
  std::int32_t logins = 0;
  std::int16_t component = 0;
};

/// One row: the properties of a record.
Pc read_pc(sd_bus_message* rows) {
  Pc pc;
  check(sd_bus_message_enter_container(rows, 'a', "{sv}"));
  while (check(sd_bus_message_enter_container(rows, 'e', "sv")) > 0) {
    const auto name = Thing::read<std::string>(rows);
    const char* type = nullptr;
    check(sd_bus_message_peek_type(rows, nullptr, &type));
    check(sd_bus_message_enter_container(rows, 'v', type));
    if (name == "ComputerID") {
      pc.computer = Thing::read<std::string>(rows);
    } else if (name == "LastUser") {
      pc.last_user = Thing::read<std::string>(rows);
    } else if (name == "TotalLogins") {
      pc.logins = Thing::read<std::int32_t>(rows);
    } else if (name == "CompID") {
      pc.component = Thing::read<std::int16_t>(rows);
    } else {
      check(sd_bus_message_skip(rows, type));
    }
    check(sd_bus_message_exit_container(rows));
    check(sd_bus_message_exit_container(rows));
  }
  check(sd_bus_message_exit_container(rows));
  return pc;
}

void print_pcs_of(std::int16_t component, const Thing& rows) {
  // A thousand at a time, instead of one object after the other.
  std::uint32_t first = 1;
  for (bool more = true; more; first += 1000) {
    const Message page = rows.call("GetRows", "uu", first, std::uint32_t{1000});
    check(sd_bus_message_enter_container(page.get(), 'a', "a{sv}"));
    more = sd_bus_message_at_end(page.get(), 0) == 0;
    while (sd_bus_message_at_end(page.get(), 0) == 0) {
      const Pc pc = read_pc(page.get());
      if (pc.component != component) continue;
      std::printf("  %s: %d logins, last %s\n", pc.computer.c_str(), pc.logins,
                  pc.last_user.c_str());
    }
  }
}

/// Days since 30 December 1899, in local time.
double automation_date_of_now() {
  const std::time_t now = std::time(nullptr);
  const std::tm* local = std::localtime(&now);
  return static_cast<double>(now + local->tm_gmtoff) / 86400 + 25569;
}

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set.");
  return value;
}

void require(bool good, const std::string& what, const Thing& server) {
  if (!good) throw std::runtime_error(what + "\n" + server.get<std::string>("LastErrorMsg"));
}

void record_login(const std::string& mac, const std::string& computer, const std::string& id,
                  const std::string& user) {
  std::string password;
  std::getline(std::ifstream(variable("TARNWICK_PASSWORD_FILE")), password);

  // Whatever this program is handed is its own until it leaves the bus.
  sd_bus* opened = nullptr;
  check(sd_bus_open_user(&opened));
  const Bus owner(opened, &sd_bus_flush_close_unref);
  sd_bus* bus = owner.get();

  const Thing automation(bus, "/org/tarnwick/Security1", "Automation");
  const Thing server(bus, automation.result_of<std::string>("CreateObject", "s", "Server"),
                     "Server");
  require(server.result_of<bool>("SetConnection", "sss", variable("TARNWICK_CONNECT").c_str(),
                                 variable("TARNWICK_ROLE").c_str(), password.c_str()),
          "The database cannot be opened.", server);
  require(server.result_of<bool>("Refresh"), "The tables cannot be loaded.", server);

  const Thing components(bus, server.get<std::string>("Components"), "Components");
  const auto found = components.result_of<std::string>("Item", "v", "s", ("C" + id).c_str());
  if (found == "/") throw std::runtime_error("There is no component " + id + ".");
  const Thing component(bus, found, "Component");
  std::printf("%s is used by:\n", component.get<std::string>("Name").c_str());
  const auto register_path = server.get<std::string>("RegisteredPCs");
  print_pcs_of(component.get<std::int16_t>("CompID"), Thing(bus, register_path, "Rows"));

  const Thing pcs(bus, register_path, "RegisteredPCs");
  const std::string between = "\u00fe";
  std::string path;
  try {
    path = pcs.result_of<std::string>("Item", "v", "s",
                                      (mac + between + computer + between + id).c_str());
  } catch (const CallFailed& failure) {
    if (failure.name() != kName + ".Error.InvalidProcedureCall") throw;
    throw std::runtime_error(computer + " is not registered for component " + id + ".");
  }
  const Thing pc(bus, path, "RegisteredPC");
  require(pc.result_of<bool>("LockRecord"), computer + " cannot be locked.", server);
  pc.set("LastUser", "s", user.c_str());
  pc.set("LastLogin", "d", automation_date_of_now());
  pc.set("TotalLogins", "i", pc.get<std::int32_t>("TotalLogins") + 1);
  require(pc.result_of<std::int32_t>("Update") == kOk, computer + " was not written.", server);
  std::printf("Now %s: %d logins, last %s\n", computer.c_str(), pc.get<std::int32_t>("TotalLogins"),
              pc.get<std::string>("LastUser").c_str());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "Usage: record_login MAC-NUMBER COMPUTER COMPONENT USER\n");
    return EXIT_FAILURE;
  }
  try {
    record_login(argv[1], argv[2], argv[3], argv[4]);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fflush(stdout);
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
