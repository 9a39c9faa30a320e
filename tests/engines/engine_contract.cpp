#include "tests/engines/engine_contract.h"

#include <limits>

#include "ado/error.h"
#include "runtime/case_mapping.h"
#include "tests/engines/contract_steps.h"

namespace tarnwick::engine_contract {

using ado::AdoError;
using ado::EngineSession;

void EngineContract::SetUp() {
  if (!GetParam().unavailable.empty()) GTEST_SKIP() << GetParam().unavailable;
  under_test_ = GetParam().make();
}

std::unique_ptr<EngineSession> EngineContract::connect(TextView more_items) {
  const Text string = join({under_test().connection_string(), u";OLE DB Services=-2;", more_items});
  return under_test().engine().connect(ado::ConnectionString::parse(string));
}

std::unique_ptr<EngineSession> EngineContract::open_session() {
  auto session = connect();
  session->set_default_database(under_test().database());
  session->execute(join(
      {u"EXEC sp_setapprole '", under_test().role(), u"','", under_test().role_password(), u"'"}));
  session->execute(u"SET LOCK_TIMEOUT 100");
  return session;
}

FetchedRows EngineContract::read(EngineSession& session, TextView statement, ado::LockType lock) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kClient,
                                   .type = ado::CursorType::kStatic,
                                   .lock = lock}),
                     std::numeric_limits<std::size_t>::max());
}

FetchedRows EngineContract::look(EngineSession& session, TextView statement) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kServer,
                                   .type = ado::CursorType::kForwardOnly,
                                   .lock = ado::LockType::kReadOnly}),
                     1);
}

FetchedRows EngineContract::hold(EngineSession& session, TextView statement) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kServer,
                                   .type = ado::CursorType::kDynamic,
                                   .lock = ado::LockType::kPessimistic}),
                     1);
}

void EngineContract::add_reports(EngineSession& session, std::initializer_list<TextView> names) {
  FetchedRows rows = read(session, kAllReports);
  for (const TextView name : names) {
    rows.insert({{u"ReportName", text(name)}, {u"Title", text(u"Old")}});
  }
}

// --- Connecting --------------------------------------------------------------------------------

TEST_P(EngineContract, AnUnknownDatabaseIsRefused) {
  const auto session = connect();
  EXPECT_EQ(number_of([&] { session->set_default_database(u"No_Such_Database"); }),
            under_test().codes().unknown_database);
}

TEST_P(EngineContract, AWrongRoleOrPasswordIsRefusedWithoutTellingThePassword) {
  const auto session = connect();
  session->set_default_database(under_test().database());
  const AdoError wrong_password = error_of([&] {
    session->execute(join({u"EXEC sp_setapprole '", under_test().role(), u"','Wrong-Secret-1'"}));
  });
  EXPECT_EQ(wrong_password.number(), under_test().codes().role_refused);
  EXPECT_EQ(find_ignoring_case(wrong_password.description(), u"wrong-secret"), Text::npos);
  const AdoError wrong_role =
      error_of([&] { session->execute(u"EXEC sp_setapprole 'no_such_role','Wrong-Secret-1'"); });
  EXPECT_EQ(wrong_role.number(), under_test().codes().role_refused);
  EXPECT_EQ(find_ignoring_case(wrong_role.description(), u"wrong-secret"), Text::npos);
}

TEST_P(EngineContract, ARolePasswordThatHoldsAQuoteMakesAMalformedStatement) {
  const auto session = connect();
  session->set_default_database(under_test().database());
  const AdoError error = error_of([&] {
    session->execute(join({u"EXEC sp_setapprole '", under_test().role(), u"','secret'ive'"}));
  });
  EXPECT_EQ(error.number(), -2147217900);
}

TEST_P(EngineContract, TablesAreClosedUntilTheRoleIsEntered) {
  const auto refused = under_test().codes().role_missing;
  if (!refused) GTEST_SKIP() << "the login of this test may read the tables without the role";
  const auto session = connect();
  session->set_default_database(under_test().database());
  EXPECT_EQ(number_of([&] { (void)read(*session, kAllReports); }), *refused);
  EXPECT_EQ(number_of([&] { session->execute(u"Delete From DW_Reports"); }), *refused);
}

TEST_P(EngineContract, AnUnknownItemOfTheConnectionStringIsNamedWithoutItsValue) {
  if (!under_test().reads_all_items()) GTEST_SKIP() << "the driver has the word on the items";
  const AdoError error = error_of([&] { (void)connect(u"Colour=seekrit"); });
  EXPECT_NE(error.description().find(u"Colour"), Text::npos) << error.what();
  EXPECT_EQ(error.description().find(u"seekrit"), Text::npos) << error.what();
}

}  // namespace tarnwick::engine_contract
