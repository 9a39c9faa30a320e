#include "state/shared_state.h"

#include <utility>

namespace tarnwick {

SharedState::SharedState(platform::Host& host_in, ado::Engines engines_in, ado::Trace* trace_in)
    : host(host_in), engines(std::move(engines_in)), trace(trace_in) {}

SharedState::~SharedState() = default;

bool SharedState::connected() const {
  return connection != nullptr && connection->state() == ado::ObjectState::kOpen;
}

ado::Connection& SharedState::require_connection() const {
  if (connection == nullptr) throw Error(ErrorNumber::kObjectNotSet);
  return *connection;
}

}  // namespace tarnwick
