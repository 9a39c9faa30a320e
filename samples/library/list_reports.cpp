// Lists the reports and their titles, by the generic client: the same calls, whether the object
// model is in this program or in the service on the session bus.
//
// Usage: list_reports [--here]
//
// The database comes from TARNWICK_CONNECT, TARNWICK_ROLE and TARNWICK_PASSWORD_FILE, as with the
// command line.

#include <systemd/sd-bus.h>
#include <tarnwick/client/dbus_transport.h>
#include <tarnwick/client/proxy.h>
#include <tarnwick/engines/sqlite/engine.h>
#include <tarnwick/platform/linux/host.h>
#include <tarnwick/platform/unattended_message_box.h>
#include <tarnwick/state/shared_state.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

using tarnwick::client::Proxy;
using tarnwick::client::Transport;

tarnwick::Text variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set.");
  return tarnwick::from_utf8(value);
}

tarnwick::Text password() {
  std::ifstream file(std::filesystem::path(variable("TARNWICK_PASSWORD_FILE")));
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error("There is no password.");
  return tarnwick::from_utf8(line);
}

void list_reports(Transport& transport) {
  // Members bear the names of the automation reference; one that is not there does not compile.
  const auto server = Proxy<tarnwick::Server>::create(transport);
  if (!server.call<"SetConnection">(variable("TARNWICK_CONNECT"), variable("TARNWICK_ROLE"),
                                    password()) ||
      !server.call<"Refresh">()) {
    throw std::runtime_error(tarnwick::to_display_utf8(server.get<"LastErrorMsg">()));
  }
  for (const auto& row : server.get<"Reports">().rows()) {
    std::cout << tarnwick::to_display_utf8(row.get<tarnwick::Report, "Name">()) << ": "
              << tarnwick::to_display_utf8(row.get<tarnwick::Report, "Title">()) << '\n';
  }
}

void list_in_service(tarnwick::platform::MessageBox& box) {
  sd_bus* opened = nullptr;
  if (sd_bus_open_user(&opened) < 0) throw std::runtime_error("There is no session bus.");
  const std::unique_ptr<sd_bus, decltype(&sd_bus_flush_close_unref)> bus(opened,
                                                                         sd_bus_flush_close_unref);
  list_reports(*tarnwick::client::make_dbus_transport(bus.get(), {.box = box}));
}

void list_here(tarnwick::platform::MessageBox& box) {
  tarnwick::platform::LinuxHost host(box, std::filesystem::temp_directory_path());
  tarnwick::sqlite::SqliteEngine embedded;
  tarnwick::SharedState state(host, {&embedded});
  list_reports(*tarnwick::client::make_in_process_transport(state));
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    const bool here = argc == 2 && std::string_view(argv[1]) == "--here";
    if (argc > 1 && !here) throw std::runtime_error("Usage: list_reports [--here]");
    tarnwick::platform::UnattendedMessageBox box({}, [](tarnwick::TextView) {});
    if (here) {
      list_here(box);
    } else {
      list_in_service(box);
    }
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
