#pragma once

#include <cstdint>

#include "ado/engine.h"

namespace tarnwick::odbc {

class OdbcApi;

/// Which libraries a connection string may make the driver manager load.
enum class Drivers {
  kAny,
  /// Those of registered drivers, by their names; whoever connects does not choose files.
  kRegistered
};

/// The engine for SQL Server, through whichever ODBC driver is installed: Microsoft's or FreeTDS
/// with the usual OLE DB items, any with Provider=MSDASQL and ODBC's own. Connections are not
/// pooled, since an application role does not survive a pool. Locked rows are offered on SQL Server
/// alone.
class OdbcEngine final : public ado::Engine {
 public:
  /// Seconds that a statement may take.
  static constexpr std::uint32_t kStatementTimeout = 30;

  /// On the installed driver manager.
  explicit OdbcEngine(std::uint32_t statement_timeout = kStatementTimeout);
  explicit OdbcEngine(Drivers drivers);
  /// On another one, which must outlive the engine.
  explicit OdbcEngine(OdbcApi& api, std::uint32_t statement_timeout = kStatementTimeout)
      : api_(&api), statement_timeout_(statement_timeout) {}

  [[nodiscard]] std::span<const TextView> providers() const override;
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override;

 private:
  OdbcApi* api_;
  std::uint32_t statement_timeout_;
  Drivers drivers_ = Drivers::kAny;
};

}  // namespace tarnwick::odbc
