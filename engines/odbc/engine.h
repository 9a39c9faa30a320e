#pragma once

#include "ado/engine.h"

namespace tarnwick::odbc {

class OdbcApi;

/// The engine for SQL Server, through whichever ODBC driver is installed: Microsoft's or FreeTDS
/// with the usual OLE DB items, any with Provider=MSDASQL and ODBC's own. Connections are not
/// pooled, since an application role does not survive a pool. Locked rows are offered on SQL Server
/// alone.
class OdbcEngine final : public ado::Engine {
 public:
  /// On the installed driver manager.
  OdbcEngine();
  /// On another one, which must outlive the engine.
  explicit OdbcEngine(OdbcApi& api) : api_(&api) {}

  [[nodiscard]] std::span<const TextView> providers() const override;
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override;

 private:
  OdbcApi* api_;
};

}  // namespace tarnwick::odbc
