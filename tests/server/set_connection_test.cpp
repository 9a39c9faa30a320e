#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "server/server.h"
#include "tests/support/component_setters.h"
#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::EmbeddedDatabase;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SetConnection : public ::testing::Test {
 protected:
  bool connect(TextView string, TextView role = EmbeddedDatabase::kRole,
               TextView password = EmbeddedDatabase::kPassword) {
    return process_.server->set_connection(string, role, password);
  }
  bool connect() { return connect(database_.connection_string()); }

  /// The connection string for another folder.
  static Text string_for(const std::filesystem::path& folder) {
    return join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.string())});
  }

  /// The number in the last account of SetConnection, and its description.
  void expect_account(std::int32_t number, TextView description) {
    EXPECT_EQ(process_.message(), account(u"Server", u"SetConnection", number, description));
    EXPECT_EQ(process_.number(), number);
  }

  EmbeddedDatabase database_;
  ServerProcess process_{database_};
};

TEST_F(SetConnection, OpensEntersTheRoleAndSetsTheLockTimeout) {
  EXPECT_TRUE(connect());
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(join({u"Connect Provider=Tarnwick.Embedded;OLE DB Services=-2;"
                        u"Data Source=",
                        from_utf8(database_.folder().string())}),
                  u"DefaultDatabase Velmar_Sec", u"Execute EXEC sp_setapprole 'Maintainer','***'",
                  u"Execute SET LOCK_TIMEOUT 5000"));
  EXPECT_EQ(process_.state.connection->cursor_location(), ado::CursorLocation::kClient);
  EXPECT_TRUE(process_.state.connected());
  EXPECT_EQ(process_.message(), u"");
  EXPECT_EQ(process_.number(), 0);
}

TEST_F(SetConnection, ClearsTheMessageEvenForAnEmptyString) {
  process_.state.errors.set_message(u"left by somebody");
  EXPECT_TRUE(connect(u""));
  EXPECT_EQ(process_.message(), u"");
}

TEST_F(SetConnection, WithAnEmptyStringLeavesTheConnectionUntouched) {
  ASSERT_TRUE(connect());
  const std::shared_ptr<ado::Connection> connection = process_.state.connection;
  (void)process_.trace();
  EXPECT_TRUE(connect(u"", u"", u""));
  EXPECT_EQ(process_.state.connection, connection);
  EXPECT_TRUE(process_.state.connected());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(SetConnection, WithAnEmptyStringAndNoConnectionSetsNone) {
  EXPECT_TRUE(connect(u""));
  EXPECT_EQ(process_.state.connection, nullptr);
}

TEST_F(SetConnection, ReplacesTheConnectionOfAllServers) {
  ASSERT_TRUE(connect());
  const std::shared_ptr<ado::Connection> first = process_.state.connection;
  Server second(process_.state);
  (void)process_.trace();
  EXPECT_TRUE(second.set_connection(database_.connection_string(), EmbeddedDatabase::kRole,
                                    EmbeddedDatabase::kPassword));
  EXPECT_EQ(process_.trace().front(), u"Disconnect");
  EXPECT_EQ(first->state(), ado::ObjectState::kClosed);
  EXPECT_NE(process_.state.connection, first);
  EXPECT_TRUE(process_.state.connected());
}

TEST_F(SetConnection, KeepsWhatTheCollectionsLoaded) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  ASSERT_TRUE(connect());
  ASSERT_TRUE(process_.server->refresh());
  const EmbeddedDatabase other;
  EXPECT_TRUE(connect(other.connection_string()));
  EXPECT_EQ(process_.server->components()->count(), 1);
  EXPECT_TRUE(process_.server->initialized());
  EXPECT_TRUE(process_.server->refresh());
  EXPECT_EQ(process_.server->components()->count(), 0);
}

TEST_F(SetConnection, TurnsInitializedOffByAConnectionThatDoesNotOpen) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(process_.server->refresh());
  EXPECT_FALSE(connect(u"Provider=Nobody"));
  EXPECT_FALSE(process_.server->initialized());
  EXPECT_TRUE(connect());
  EXPECT_TRUE(process_.server->initialized());
}

TEST_F(SetConnection, IsRefusedWhileARecordIsLocked) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  ASSERT_TRUE(connect());
  Component component(process_.state);
  test_support::ComponentSetters{component}.comp_id(1);
  ASSERT_TRUE(component.lock_record());
  const std::shared_ptr<ado::Connection> connection = process_.state.connection;
  EXPECT_FALSE(connect());
  expect_account(3246, u"Connection object cannot be explicitly closed while in a transaction.");
  EXPECT_EQ(process_.state.connection, connection);
  EXPECT_TRUE(component.locked());
  EXPECT_TRUE(component.release_record());
  EXPECT_TRUE(connect());
}

TEST_F(SetConnection, WorksAfterALockThatFoundNoRow) {
  ASSERT_TRUE(connect());
  Component absent(process_.state);
  test_support::ComponentSetters{absent}.comp_id(99);
  ASSERT_FALSE(absent.lock_record());
  (void)process_.trace();
  EXPECT_TRUE(connect());
  const std::vector<Text> trace = process_.trace();
  ASSERT_GE(trace.size(), 2u);
  EXPECT_EQ(trace[0], u"Disconnect");
  EXPECT_TRUE(trace[1].starts_with(u"Connect "));
}

TEST_F(SetConnection, NamesAMissingProvider) {
  EXPECT_FALSE(connect(u"Data Source=/somewhere"));
  expect_account(3706, u"Provider cannot be found. It may not be properly installed.");
  ASSERT_NE(process_.state.connection, nullptr);
  EXPECT_FALSE(process_.state.connected());
}

TEST_F(SetConnection, NamesAnUnknownProvider) {
  EXPECT_FALSE(connect(u"Provider=Nobody;Data Source=/somewhere"));
  expect_account(3706, u"Provider cannot be found. It may not be properly installed.");
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(SetConnection, NamesTheMalformedItem) {
  EXPECT_FALSE(connect(u"Provider=Tarnwick.Embedded;Data Source"));
  expect_account(3001, u"The connection string cannot be read: item 3 has no \"=\".");
}

TEST_F(SetConnection, AfterAFailureWorksAgain) {
  ASSERT_FALSE(connect(u"Provider=Nobody"));
  EXPECT_TRUE(connect());
  EXPECT_EQ(process_.message(), u"");
  EXPECT_EQ(process_.number(), 3706);
}

TEST_F(SetConnection, WithAQuoteInThePasswordMakesAMalformedStatement) {
  EXPECT_FALSE(connect(database_.connection_string(), EmbeddedDatabase::kRole, u"ses'ame"));
  EXPECT_EQ(process_.number(), -2147217900);
  EXPECT_TRUE(process_.message().starts_with(
      u"\r\nError in Component: 'Server', Proceedure: 'SetConnection'."
      u"\r\nError #:    \t-2147217900\r\nDescription:\t"));
  EXPECT_EQ(process_.trace().back(), u"Execute EXEC sp_setapprole 'Maintainer','***'");
  EXPECT_EQ(process_.message().find(u"ses"), Text::npos) << "the account must not tell it";
}

TEST_F(SetConnection, WithDoubledQuotesInThePasswordFindsTheOneMeant) {
  EXPECT_FALSE(connect(database_.connection_string(), EmbeddedDatabase::kRole, u"ses''ame"));
  EXPECT_NE(process_.number(), -2147217900) << "the statement is well formed";
  EXPECT_NE(process_.number(), 0);
}

TEST_F(SetConnection, TracesNoPassword) {
  EXPECT_FALSE(connect(join({database_.connection_string(), u";Password=secret"}),
                       EmbeddedDatabase::kRole, u"secret"));
  for (const Text& line : process_.trace()) EXPECT_EQ(line.find(u"secret"), Text::npos);
  EXPECT_EQ(process_.message().find(u"secret"), Text::npos);
}

TEST_F(SetConnection, DropsTheReportThatWasLookedUp) {
  ASSERT_TRUE(connect());
  process_.state.report_row = std::make_shared<ado::Recordset>();
  ASSERT_TRUE(connect());
  EXPECT_EQ(process_.state.report_row, nullptr);
}

}  // namespace
}  // namespace tarnwick
