// Shows the PCs of a component and records that somebody logged in on one of them, with the object
// model in this very program.
//
// Usage: record_login MAC-NUMBER COMPUTER COMPONENT USER
//
// The database comes from TARNWICK_CONNECT, TARNWICK_ROLE and TARNWICK_PASSWORD_FILE, as with the
// command line.

#include <tarnwick/engines/odbc/engine.h>
#include <tarnwick/engines/sqlite/engine.h>
#include <tarnwick/platform/linux/host.h>
#include <tarnwick/platform/unattended_message_box.h>
#include <tarnwick/server/server.h>
#include <tarnwick/state/shared_state.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

using tarnwick::from_utf8;
using tarnwick::to_display_utf8;

tarnwick::Text variable(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set.");
  return from_utf8(value);
}

tarnwick::Text password() {
  std::ifstream file(std::filesystem::path(variable("TARNWICK_PASSWORD_FILE")));
  std::string line;
  if (!std::getline(file, line)) throw std::runtime_error("There is no password.");
  return from_utf8(line);
}

/// Methods say no; why, stands in the account of errors that all objects share.
[[noreturn]] void fail(const std::string& what, const tarnwick::Server& server) {
  throw std::runtime_error(what + "\n" + to_display_utf8(server.last_error_msg()));
}

void show(const tarnwick::RegisteredPC& pc) {
  std::cout << to_display_utf8(pc.computer_id()) << ": " << pc.total_logins() << " logins, last "
            << to_display_utf8(pc.last_user()) << '\n';
}

void record_login(const std::string& mac, const std::string& computer,
                  const std::string& component_id, const std::string& user) {
  // What all objects of a program share: who answers questions about locked rows, where files go
  // meanwhile, and which databases there are.
  tarnwick::platform::UnattendedMessageBox box({}, [](tarnwick::TextView) {});
  tarnwick::platform::LinuxHost host(box, std::filesystem::temp_directory_path());
  tarnwick::sqlite::SqliteEngine embedded;
  tarnwick::odbc::OdbcEngine sql_server;
  tarnwick::SharedState state(host, {&embedded, &sql_server});

  tarnwick::Server server(state);
  if (!server.set_connection(variable("TARNWICK_CONNECT"), variable("TARNWICK_ROLE"), password())) {
    fail("The database cannot be opened.", server);
  }
  if (!server.refresh()) fail("The tables cannot be loaded.", server);

  const auto component = server.components()->item(from_utf8("C" + component_id));
  if (component == nullptr) {
    throw std::runtime_error("There is no component " + component_id + ".");
  }
  std::cout << to_display_utf8(component->name()) << " is used by:\n";
  for (const auto& pc : *state.registered_pcs) {
    if (pc->comp_id() != component->comp_id()) continue;
    std::cout << "  ";
    show(*pc);
  }

  const std::string separator = "\u00fe";
  const tarnwick::Text key = from_utf8(mac + separator + computer + separator + component_id);
  if (!server.registered_pcs()->exists(key)) {
    throw std::runtime_error(computer + " is not registered for component " + component_id + ".");
  }
  const auto pc = server.registered_pcs()->item(key);
  if (!pc->lock_record()) fail(computer + " cannot be locked.", server);
  pc->set_last_user(from_utf8(user));
  pc->set_last_login(tarnwick::local_now());
  pc->set_total_logins(pc->total_logins() + 1);
  if (pc->update() != tarnwick::OK_ue) fail(computer + " was not written.", server);
  std::cout << "Now ";
  show(*pc);
}

}  // namespace

int main(int argc, char* argv[]) {
  try {
    if (argc != 5) {
      throw std::runtime_error("Usage: record_login MAC-NUMBER COMPUTER COMPONENT USER");
    }
    record_login(argv[1], argv[2], argv[3], argv[4]);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
