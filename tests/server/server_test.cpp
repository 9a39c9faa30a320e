#include "server/server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::EmbeddedDatabase;
using test_support::ScriptedHost;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kOneRowEach =
    "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2);"
    "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
    "  VALUES ('00-AA', 'PC1', 1, 5, 1, 10);"
    "INSERT INTO DW_Reports (ReportName) VALUES ('Sales');";

class UnconnectedServer : public ::testing::Test {
 protected:
  EmbeddedDatabase database_;
  ServerProcess process_{database_};
};

class ConnectedServer : public test_support::ConnectedTest {
 protected:
  Server& server() { return *process_.server; }
};

TEST_F(UnconnectedServer, IsCountedWhileItLives) {
  EXPECT_EQ(process_.state.server_count, 1);
  {
    const Server second(process_.state);
    EXPECT_EQ(process_.state.server_count, 2);
  }
  EXPECT_EQ(process_.state.server_count, 1);
}

TEST_F(UnconnectedServer, HandsOutTheSameCollectionsEachTime) {
  Server& server = *process_.server;
  ASSERT_NE(server.components(), nullptr);
  ASSERT_NE(server.registered_pcs(), nullptr);
  ASSERT_NE(server.reports(), nullptr);
  EXPECT_EQ(server.components(), server.components());
  EXPECT_EQ(server.registered_pcs(), server.registered_pcs());
  EXPECT_EQ(server.reports(), server.reports());
  EXPECT_EQ(server.components()->count(), 0);
  EXPECT_EQ(server.registered_pcs()->count(), 0);
  EXPECT_EQ(server.reports()->count(), 0);
}

TEST_F(UnconnectedServer, ClearsTheMessageWhenItIsCreated) {
  process_.state.errors.set_message(u"left by somebody");
  const Server second(process_.state);
  EXPECT_EQ(process_.message(), u"");
}

TEST_F(UnconnectedServer, ReplacesTheStoresOfTheProcessWhenItIsCreated) {
  const auto components = process_.state.components;
  const auto pcs = process_.state.registered_pcs;
  const auto reports = process_.state.reports;
  const Server second(process_.state);
  EXPECT_NE(process_.state.components, components);
  EXPECT_NE(process_.state.registered_pcs, pcs);
  EXPECT_NE(process_.state.reports, reports);
}

TEST_F(UnconnectedServer, DropsTheStoresOfTheProcessAtItsEndForAllOthersToo) {
  { const Server second(process_.state); }
  EXPECT_EQ(process_.state.components, nullptr);
  EXPECT_EQ(process_.state.registered_pcs, nullptr);
  EXPECT_EQ(process_.state.reports, nullptr);
  EXPECT_EQ(process_.server->components()->count(), 0);
}

TEST_F(UnconnectedServer, LeavesAStoreAloneWhoseCollectionAClientStillHolds) {
  auto second = std::make_unique<Server>(process_.state);
  const auto held = second->components();
  second.reset();
  EXPECT_NE(process_.state.components, nullptr);
  EXPECT_EQ(process_.state.registered_pcs, nullptr);
}

TEST_F(UnconnectedServer, RecordsAnOverflowOfItsCount) {
  process_.state.server_count = std::numeric_limits<std::int32_t>::max();
  const Server second(process_.state);
  EXPECT_EQ(process_.message(), account(u"Server", u"Class_Initialize", 6, u"Overflow"));
  EXPECT_EQ(process_.number(), 6);
  EXPECT_EQ(process_.state.server_count, std::numeric_limits<std::int32_t>::max());
}

TEST_F(UnconnectedServer, IgnoresAnOverflowOfItsCountAtItsEnd) {
  process_.state.server_count = std::numeric_limits<std::int32_t>::min();
  process_.server.reset();
  EXPECT_EQ(process_.state.server_count, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(process_.message(), u"");
}

TEST_F(UnconnectedServer, TellsTheDevelopmentEnvironmentByTheLastSevenCharacters) {
  const auto in_development = [&](std::optional<Text> module) {
    process_.host.module = std::move(module);
    const Server server(process_.state);
    return process_.state.in_development_environment;
  };
  EXPECT_TRUE(in_development(u"C:\\Program Files\\VB6.EXE"));
  EXPECT_TRUE(in_development(u"c:\\tools\\vb5.exe"));
  EXPECT_TRUE(in_development(u"VB.EXE"));
  EXPECT_TRUE(in_development(u"C:\\MYVB6.EXE"));
  EXPECT_FALSE(in_development(u"C:\\VB.EXE"));
  EXPECT_FALSE(in_development(u"C:\\VB60.EXE"));
  EXPECT_FALSE(in_development(u"C:\\Tarnwick.exe"));
  EXPECT_FALSE(in_development(u"VB6.EX"));
  EXPECT_FALSE(in_development(u""));
  EXPECT_FALSE(in_development(std::nullopt));
}

TEST_F(UnconnectedServer, ReadsAtMost255CharactersOfTheModulesName) {
  process_.host.module = Text(248, u'x') + u"VB6.EXE";
  const Server short_enough(process_.state);
  EXPECT_TRUE(process_.state.in_development_environment);
  process_.host.module = Text(249, u'x') + u"VB6.EXE";
  const Server too_long(process_.state);
  EXPECT_FALSE(process_.state.in_development_environment);
}

TEST_F(UnconnectedServer, IgnoresErrorsOfTheDevelopmentEnvironmentTest) {
  class FailingHost final : public ScriptedHost {
   public:
    using ScriptedHost::ScriptedHost;
    [[nodiscard]] std::optional<Text> module_file_name() override {
      throw Error(ErrorNumber::kOverflow);
    }
  };
  const test_support::TemporaryFolder folder;
  FailingHost host(folder.path());
  SharedState state(host, {});
  const Server server(state);
  EXPECT_FALSE(state.in_development_environment);
  EXPECT_EQ(state.errors.message(), u"");
  EXPECT_EQ(state.server_count, 1);
}

TEST_F(UnconnectedServer, RefusesToRefreshBeforeTheConnectionIsSet) {
  EXPECT_FALSE(process_.server->refresh());
  EXPECT_EQ(process_.server->last_error_msg(),
            account(u"Server", u"Refresh", -2147221504,
                    u"Connection object has not been set, unable to refresh!"));
  EXPECT_EQ(process_.server->last_error_number(), -2147221504);
  EXPECT_FALSE(process_.server->initialized());
}

TEST_F(ConnectedServer, IsNotInitializedBeforeItsFirstRefresh) {
  EXPECT_FALSE(server().initialized());
}

TEST_F(ConnectedServer, LoadsComponentsThenPcsThenReports) {
  database_.run(std::string(kOneRowEach));
  EXPECT_TRUE(server().refresh());
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_COMP Order By CompID",
                  u"Execute SET LOCK_TIMEOUT 2000",
                  u"Open client static optimistic: Select * From  DW_SEC_PC Order By MACNbr",
                  u"Execute SET LOCK_TIMEOUT 2000",
                  u"Open client static optimistic: Select ReportName, Title, Author, Created, "
                  u"Version, RptGrpID, ImageIndex, SQLStmnt, ReportType, ReportDesc, MaintType, "
                  u"SoftLock, RowVersion, TTX_Binary, Definition  From  DW_Reports  Order By "
                  u"ReportName",
                  u"Execute SET LOCK_TIMEOUT 2000"));
  EXPECT_TRUE(server().initialized());
  EXPECT_EQ(server().components()->count(), 1);
  EXPECT_EQ(server().registered_pcs()->count(), 1);
  EXPECT_EQ(server().reports()->count(), 1);
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ConnectedServer, LoadsEmptyTablesWithoutAMessage) {
  EXPECT_TRUE(server().refresh());
  EXPECT_TRUE(server().initialized());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ConnectedServer, StopsAtComponentsThatCannotBeLoaded) {
  database_.run(std::string(kOneRowEach) +
                "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (-1, 0, 2);"
                "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (-2, 0, 2);");
  EXPECT_FALSE(server().refresh());
  EXPECT_EQ(message(),
            join({u"Error while refreshing the Component Records!\r\n",
                  account(u"Components", u"Refresh", 457,
                          u"This key is already associated with an element of this collection")}));
  EXPECT_EQ(number(), 457);
  EXPECT_EQ(server().registered_pcs()->count(), 0);
  EXPECT_EQ(server().reports()->count(), 0);
  EXPECT_FALSE(server().initialized());
}

constexpr std::string_view kPcsOfOneKey =
    "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
    "  VALUES ('00-aa', 'pc1', 1, 5, 1, 10), ('00-AA', 'PC1', 1, 5, 1, 10);";

TEST_F(ConnectedServer, StopsAtPcsThatCannotBeLoadedAndKeepsTheComponents) {
  database_.run(std::string(kOneRowEach));
  database_.loosen("DW_SEC_PC");
  database_.run(std::string(kPcsOfOneKey));
  EXPECT_FALSE(server().refresh());
  EXPECT_EQ(message(),
            u"Error while refreshing the Registered PC Records!"
            u"\r\n\r\nError in Component: 'Tarnwick', Proceedure: 'General.RefreshPCs'."
            u"\r\nField :     \t"
            u"\r\nRegPCMacNbr:\t"
            u"\r\nError #:    \t457"
            u"\r\nDescription:\tThis key is already associated with an element of this collection");
  EXPECT_EQ(server().components()->count(), 1);
  EXPECT_EQ(server().registered_pcs()->count(), 1);
  EXPECT_EQ(server().reports()->count(), 0);
  EXPECT_FALSE(server().initialized());
}

TEST_F(ConnectedServer, StopsAtReportsThatCannotBeLoadedAndKeepsTheRest) {
  database_.run(std::string(kOneRowEach));
  database_.loosen("DW_Reports");
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('SALES'), ('Sales');");
  EXPECT_FALSE(server().refresh());
  EXPECT_EQ(message(),
            u"Error while refreshing the Report Records!"
            u"\r\n\r\nError in Component: 'RegisteredPCs', Proceedure: 'Refresh'."
            u"\r\nField :     \tReportName"
            u"\r\nRegRptName :\tSales"
            u"\r\nError #:    \t457"
            u"\r\nDescription:\tThis key is already associated with an element of this collection");
  EXPECT_EQ(server().components()->count(), 1);
  EXPECT_EQ(server().registered_pcs()->count(), 1);
  EXPECT_EQ(server().reports()->count(), 1);
  EXPECT_FALSE(server().initialized());
}

TEST_F(ConnectedServer, StaysInitializedWhenALaterRefreshFails) {
  ASSERT_TRUE(server().refresh());
  database_.loosen("DW_SEC_PC");
  database_.run(std::string(kPcsOfOneKey));
  EXPECT_FALSE(server().refresh());
  EXPECT_TRUE(server().initialized());
}

TEST_F(ConnectedServer, IsNotInitializedOnceTheConnectionIsClosed) {
  ASSERT_TRUE(server().refresh());
  state().connection->close();
  EXPECT_FALSE(server().initialized());
}

TEST_F(ConnectedServer, RefreshesOverAClosedConnectionWithThreeAccounts) {
  state().connection->close();
  EXPECT_TRUE(server().refresh()) << "collections that cannot be opened stay as they are";
  EXPECT_FALSE(server().initialized());
  const Text closed = account(u"General", u"GetRecordset", 3709,
                              u"The connection cannot be used to perform this operation. It is "
                              u"either closed or invalid in this context.");
  EXPECT_EQ(message(), join({closed, closed, closed}));
}

TEST_F(ConnectedServer, KeepsItsCollectionsWhileAnotherProcessMaintainsRowsOfThem) {
  database_.run(std::string(kOneRowEach));
  ASSERT_TRUE(server().refresh());
  const auto before = state().components;
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->refresh());
  ASSERT_TRUE(other.server->components()->item(std::int32_t{1})->lock_record());
  process_.set_lock_timeout(0);
  EXPECT_TRUE(server().refresh());
  EXPECT_EQ(state().components, before);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", -2147467259,
                               u"Lock request time out period exceeded."));
  EXPECT_EQ(server().reports()->count(), 1);
}

TEST_F(ConnectedServer, ReloadsStoresThatAnotherServerDroppedAtItsEnd) {
  database_.run(std::string(kOneRowEach));
  { const Server second(state()); }
  ASSERT_EQ(state().components, nullptr);
  EXPECT_TRUE(server().refresh());
  EXPECT_EQ(server().components()->count(), 1);
  EXPECT_EQ(server().registered_pcs()->count(), 1);
  EXPECT_EQ(server().reports()->count(), 1);
}

TEST_F(ConnectedServer, KeepsTheConnectionOpenWhileAnotherServerLives) {
  auto second = std::make_unique<Server>(state());
  process_.server.reset();
  ASSERT_NE(state().connection, nullptr);
  EXPECT_TRUE(state().connected());
  EXPECT_THAT(process_.trace(), IsEmpty());
  second.reset();
  EXPECT_EQ(state().connection, nullptr);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Disconnect"));
}

TEST_F(ConnectedServer, ClosesTheConnectionAtTheEndOfTheLastServer) {
  const std::shared_ptr<ado::Connection> connection = state().connection;
  process_.server.reset();
  EXPECT_EQ(connection->state(), ado::ObjectState::kClosed);
  EXPECT_EQ(state().connection, nullptr);
}

TEST_F(ConnectedServer, ReleasesAConnectionThatIsClosedAlready) {
  state().connection->close();
  (void)process_.trace();
  process_.server.reset();
  EXPECT_EQ(state().connection, nullptr);
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ConnectedServer, SharesItsConnectionWithAServerCreatedLater) {
  database_.run(std::string(kOneRowEach));
  Server second(state());
  EXPECT_FALSE(second.initialized());
  EXPECT_TRUE(second.refresh());
  EXPECT_TRUE(second.initialized());
  EXPECT_FALSE(server().initialized());
}

TEST_F(ConnectedServer, ClosesTheConnectionAtItsEndAfterALockThatFoundNoRow) {
  Component absent(state());
  test_support::ComponentSetters{absent}.comp_id(99);
  ASSERT_FALSE(absent.lock_record());
  EXPECT_FALSE(state().connection->in_transaction());
  const std::shared_ptr<ado::Connection> connection = state().connection;
  (void)process_.trace();
  process_.server.reset();
  EXPECT_THAT(process_.trace(), ElementsAre(u"Disconnect"));
  EXPECT_EQ(connection->state(), ado::ObjectState::kClosed);
}

TEST_F(ConnectedServer, GivesBackTheRowOfARecordThatOnlyItsCollectionsHoldBeforeItDisconnects) {
  database_.run(std::string(kOneRowEach));
  const auto lock_first = {
      +[](Server& server) { return server.components()->item(1)->lock_record(); },
      +[](Server& server) { return server.registered_pcs()->item(1)->lock_record(); },
      +[](Server& server) { return server.reports()->item(1)->lock_record(); }};
  for (const auto lock : lock_first) {
    if (process_.server == nullptr) {
      process_.server = std::make_unique<Server>(state());
      ASSERT_TRUE(process_.connect());
    }
    ASSERT_TRUE(server().refresh());
    ASSERT_TRUE(lock(server()));
    (void)process_.trace();
    process_.server.reset();
    EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback", u"Disconnect"));
  }
}

}  // namespace
}  // namespace tarnwick
