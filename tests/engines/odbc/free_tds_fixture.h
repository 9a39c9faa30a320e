#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "engines/odbc/result.h"
#include "tests/engines/fetched_rows.h"
#include "tests/engines/odbc/errors.h"
#include "tests/stand_in/stand_in.h"

namespace tarnwick::odbc_test {

using engine_contract::FetchedRows;
using test_support::StandIn;

inline constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";

/// The real driver manager and the real FreeTDS on a stand-in for the server.
class FreeTdsTest : public testing::Test {
 protected:
  FreeTdsTest() { server_.make_database(); }

  std::unique_ptr<ado::EngineSession> connect(TextView more_items = {}) {
    return connect_with(engine_, more_items);
  }
  std::unique_ptr<ado::EngineSession> connect_with(odbc::OdbcEngine& engine,
                                                   TextView more_items = {}) {
    return engine.connect(
        ado::ConnectionString::parse(join({server_.connection_string(), more_items})));
  }

  /// In the database and the role, with an empty log.
  std::unique_ptr<ado::EngineSession> open_session() { return open_session_with(engine_); }
  std::unique_ptr<ado::EngineSession> open_session_with(odbc::OdbcEngine& engine) {
    auto session = connect_with(engine);
    session->set_default_database(u"Velmar_Sec");
    session->execute(
        join({u"EXEC sp_setapprole '", StandIn::kRole, u"','", StandIn::kRolePassword, u"'"}));
    session->execute(u"SET LOCK_TIMEOUT 100");
    (void)server_.take_log();
    return session;
  }

  /// The same with the report Sales.
  std::unique_ptr<ado::EngineSession> session_with_sales() {
    auto session = open_session();
    session->execute(u"Insert Into DW_Reports (ReportName, Title) Values ('Sales', 'Old')");
    (void)server_.take_log();
    return session;
  }

  static FetchedRows read(ado::EngineSession& session, TextView statement) {
    return FetchedRows(session.open({.statement = statement,
                                     .location = ado::CursorLocation::kClient,
                                     .type = ado::CursorType::kStatic,
                                     .lock = ado::LockType::kOptimistic}),
                       odbc::kAllRows);
  }
  static FetchedRows hold(ado::EngineSession& session) {
    return FetchedRows(session.open({.statement = kSales,
                                     .location = ado::CursorLocation::kServer,
                                     .type = ado::CursorType::kDynamic,
                                     .lock = ado::LockType::kPessimistic}),
                       1);
  }

  StandIn server_;
  odbc::OdbcEngine engine_;
};

}  // namespace tarnwick::odbc_test
