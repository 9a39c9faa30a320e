#include "engines/odbc/engine.h"

#include <array>

#include "engines/odbc/odbc_api.h"
#include "engines/odbc/session.h"

namespace tarnwick::odbc {
namespace {

// Each with the name of its first version, as older connection strings write it.
constexpr std::array<TextView, 10> kProviders{
    u"SQLOLEDB",     u"SQLOLEDB.1",   u"SQLNCLI11",      u"SQLNCLI11.1", u"MSOLEDBSQL",
    u"MSOLEDBSQL.1", u"MSOLEDBSQL19", u"MSOLEDBSQL19.1", u"MSDASQL",     u"MSDASQL.1"};

}  // namespace

OdbcEngine::OdbcEngine(std::uint32_t statement_timeout)
    : OdbcEngine(driver_manager(), statement_timeout) {}

OdbcEngine::OdbcEngine(Drivers drivers) : OdbcEngine() { drivers_ = drivers; }

std::span<const TextView> OdbcEngine::providers() const { return kProviders; }

std::unique_ptr<ado::EngineSession> OdbcEngine::connect(const ado::ConnectionString& string) {
  return std::make_unique<OdbcSession>(*api_, string, statement_timeout_, drivers_);
}

}  // namespace tarnwick::odbc
