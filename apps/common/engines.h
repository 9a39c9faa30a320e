#pragma once

#include "ado/engine.h"
#include "engines/odbc/engine.h"
#include "engines/sqlite/engine.h"

namespace tarnwick::apps {

/// The engines that the programs of this project offer. Outlives all connections.
class ProgramEngines final {
 public:
  explicit ProgramEngines(odbc::Drivers drivers = odbc::Drivers::kAny) : odbc_(drivers) {}
  [[nodiscard]] ado::Engines list() { return {&sqlite_, &odbc_}; }

 private:
  sqlite::SqliteEngine sqlite_;
  odbc::OdbcEngine odbc_;
};

}  // namespace tarnwick::apps
