#pragma once

#include <cstdint>
#include <memory>

#include "ado/connection.h"
#include "ado/recordset.h"
#include "ado/stream.h"
#include "platform/host.h"
#include "state/error_state.h"
#include "state/failures.h"
#include "state/record_store.h"

namespace tarnwick {

class Component;
class RegisteredPC;
class Report;

/// What all objects of one server process share. A program creates one and hands it to every object
/// that it creates; it must outlive them all. Not thread-safe: calls into a process are serialised.
struct SharedState {
  /// `host`, `engines` and `trace` (may be null) must outlive this.
  SharedState(platform::Host& host, ado::Engines engines, ado::Trace* trace = nullptr);
  ~SharedState();
  SharedState(const SharedState&) = delete;
  SharedState& operator=(const SharedState&) = delete;

  platform::Host& host;
  const ado::Engines engines;
  ado::Trace* const trace;

  ErrorState errors;
  Failures failures;

  /// Unset until the first connection was asked for; lives while a Server lives.
  std::shared_ptr<ado::Connection> connection;
  std::int32_t server_count = 0;
  bool in_development_environment = false;

  /// Unset while no collection object of the class lives.
  std::shared_ptr<Store<Component>> components;
  std::shared_ptr<Store<RegisteredPC>> registered_pcs;
  std::shared_ptr<Store<Report>> reports;

  /// The stream of all payload routines; see prepare_stream.
  std::shared_ptr<ado::Stream> stream;
  /// The report row that was looked up last.
  std::shared_ptr<ado::Recordset> report_row;

  /// Whether the shared connection is set and open.
  [[nodiscard]] bool connected() const;

  /// The shared connection, open or not. Error 91 where it is unset.
  [[nodiscard]] ado::Connection& require_connection() const;
};

}  // namespace tarnwick
