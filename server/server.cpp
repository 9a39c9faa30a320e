#include "server/server.h"

#include <algorithm>

#include "runtime/case_mapping.h"
#include "server/connect_string.h"
#include "server/required_tables.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

// Matches "VB*.EXE" against the last seven characters of the module's file name, and no more of it.
bool runs_in_development_environment(platform::Host& host) {
  bool matches = false;
  quietly([&] {
    const auto module = host.module_file_name();
    if (!module) return;
    const TextView name = TextView(*module).substr(0, 255);
    const Text tail = upper(name.substr(name.size() - std::min<std::size_t>(name.size(), 7)));
    matches = tail.size() >= 6 && tail.starts_with(u"VB") && tail.ends_with(u".EXE");
  });
  return matches;
}

void count(std::int32_t& number, std::int32_t step) {
  std::int32_t counted = 0;
  if (__builtin_add_overflow(number, step, &counted)) throw Error(ErrorNumber::kOverflow);
  number = counted;
}

// A collection that went missing comes back empty.
template <class Collection>
std::shared_ptr<Collection> collection(SharedState& state, std::shared_ptr<Collection>& member,
                                       TextView name) {
  using Result = std::shared_ptr<Collection>;
  return guarded(state, {u"Server", name}, Result(), [&](Result& result) {
    if (member == nullptr) member = std::make_shared<Collection>(state);
    result = member;
  });
}

}  // namespace

Server::Server(SharedState& state) : ModelObject(state) {
  guarded(state_, {u"Server", u"Class_Initialize"}, false, [&](bool&) {
    reports_ = std::make_shared<Reports>(state_);
    registered_pcs_ = std::make_shared<RegisteredPCs>(state_);
    components_ = std::make_shared<Components>(state_);
    state_.errors.set_message({});
    state_.in_development_environment = runs_in_development_environment(state_.host);
    count(state_.server_count, 1);
  });
}

Server::~Server() {
  reports_.reset();
  registered_pcs_.reset();
  components_.reset();
  quietly([&] { count(state_.server_count, -1); });
  if (state_.connection == nullptr || state_.server_count >= 1) return;
  state_.report_row.reset();
  quietly([&] {
    if (state_.connected()) state_.connection->close();
  });
  state_.connection.reset();
}

bool Server::initialized() const { return state_.connected() && initialized_; }

std::shared_ptr<Reports> Server::reports() { return collection(state_, reports_, u"Reports"); }

std::shared_ptr<RegisteredPCs> Server::registered_pcs() {
  return collection(state_, registered_pcs_, u"RegisteredPCs");
}

std::shared_ptr<Components> Server::components() {
  return collection(state_, components_, u"Components");
}

bool Server::set_connection(TextView connect_string, TextView app_role, TextView app_password) {
  return guarded(state_, {u"Server", u"SetConnection"}, false, [&](bool& result) {
    state_.errors.set_message({});
    if (connect_string.empty()) {
      result = true;
      return;
    }
    state_.report_row.reset();
    if (state_.connected()) state_.connection->close();
    const Text normalised = without_ole_db_services(connect_string);
    state_.connection = std::make_shared<ado::Connection>(state_.engines, state_.trace);
    state_.connection->set_connection_string(normalised);
    state_.connection->open();
    state_.connection->set_default_database(u"Velmar_Sec");
    state_.connection->execute(
        join({u"EXEC sp_setapprole '", app_role, u"','", app_password, u"'"}));
    state_.connection->execute(u"SET LOCK_TIMEOUT 5000");
    state_.connection->set_cursor_location(ado::CursorLocation::kClient);
    require_tables(*state_.connection);
    result = true;
  });
}

bool Server::refresh() {
  return guarded(state_, {u"Server", u"Refresh"}, false, [&](bool& result) {
    if (state_.connection == nullptr) {
      throw Error(static_cast<std::int32_t>(ErrorNumber::kUserDefined),
                  u"Connection object has not been set, unable to refresh!");
    }
    const auto loads = [&](const auto& collection, TextView complaint) {
      const bool loaded = require_set(collection).refresh();
      if (!loaded) state_.errors.prefix(complaint);
      return loaded;
    };
    result = loads(components(), u"Error while refreshing the Component Records!") &&
             loads(registered_pcs(), u"Error while refreshing the Registered PC Records!") &&
             loads(reports(), u"Error while refreshing the Report Records!");
    if (result) initialized_ = true;
  });
}

}  // namespace tarnwick
