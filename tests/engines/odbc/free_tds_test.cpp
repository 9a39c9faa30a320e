#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "ado/error.h"
#include "tests/engines/odbc/faulty_odbc.h"
#include "tests/engines/odbc/free_tds_fixture.h"

// The real driver manager and the real FreeTDS on a stand-in for the server: what goes over the
// wire, and what the driver makes of a server's errors. free_tds_loss_test.cpp: of its end.

namespace tarnwick::odbc_test {
namespace {

using ado::AdoErrorNumber;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

constexpr const char* kOptions =
    "batch SET TEXTSIZE 2147483647; SET NOCOUNT OFF; SET XACT_ABORT OFF; SET ANSI_NULLS, "
    "ANSI_PADDING, ANSI_WARNINGS, QUOTED_IDENTIFIER ON; SET LOCK_TIMEOUT -1";
constexpr const char* kIsolation =
    "batch IF EXISTS (SELECT 1 FROM sys.databases WHERE database_id = DB_ID() AND "
    "is_read_committed_snapshot_on = 1) SET TRANSACTION ISOLATION LEVEL REPEATABLE READ ELSE SET "
    "TRANSACTION ISOLATION LEVEL READ COMMITTED";

// --- Connecting --------------------------------------------------------------------------------

TEST_F(FreeTdsTest, OleDbItemsArriveAtTheServer) {
  const auto session = connect(
      u";Initial Catalog=Velmar_Sec;Application Name=Desk;Connect Timeout=5;OLE DB Services=-2");
  EXPECT_THAT(server_.take_log(), ElementsAre("login user=sa application=Desk database=Velmar_Sec",
                                              kOptions, kIsolation));
}

TEST_F(FreeTdsTest, ItemsThatFreeTdsHasAWordForArriveAtTheServer) {
  const auto session = connect(
      u";Workstation ID=DESK-1;Current Language=Deutsch;Packet Size=8192;Application Intent="
      u"ReadOnly;Persist Security Info=False;Auto Translate=True;MultipleActiveResultSets=False");
  const auto client = read(*session, u"STAND_IN CLIENT");
  EXPECT_EQ(client.value(u"host"), Variant(Text(u"DESK-1")));
  EXPECT_EQ(client.value(u"language"), Variant(Text(u"Deutsch")));
  EXPECT_EQ(client.value(u"packet_size"), Variant(Text(u"8192")));
  EXPECT_EQ(client.value(u"intent"), Variant(Text(u"ReadOnly")));
}

TEST_F(FreeTdsTest, ColumnsAreThoseThatTheServerShows) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  EXPECT_EQ(session->columns_of(u"No_Such_Table"), std::vector<Text>{});
  const auto columns = session->columns_of(u"DW_Reports");
  ASSERT_TRUE(columns);
  EXPECT_EQ(columns->size(), 16u);
  EXPECT_THAT(*columns, Contains(Text(u"Version")));
  server_.order(u"FAIL 'WHERE 1 = 0' 229 'The SELECT permission was denied'");
  EXPECT_EQ(session->columns_of(u"DW_Reports"), std::nullopt);
}

TEST_F(FreeTdsTest, APasswordMayHoldWhatMeansSomethingInAConnectionString) {
  server_.run(u"CREATE LOGIN odd WITH PASSWORD = N'a;b}c{d=e f@!'");
  const auto session = engine_.connect(
      ado::ConnectionString::parse(join({u"Provider=SQLOLEDB;Data Source=", server_.data_source(),
                                         u";User ID=odd;Password=\"a;b}c{d=e f@!\""})));
  EXPECT_THAT(server_.take_log(), Contains("login user=odd application= database="));
}

TEST_F(FreeTdsTest, APasswordInBracesIsPassedOn) {
  server_.run(u"CREATE LOGIN odd WITH PASSWORD = N'a;b}c'");
  const Text server = server_.data_source();
  const std::size_t comma = server.find(u',');
  const auto session = engine_.connect(ado::ConnectionString::parse(join(
      {u"Provider=MSDASQL;Driver={FreeTDS};Server=", TextView(server).substr(0, comma), u";Port=",
       TextView(server).substr(comma + 1), u";TDS_Version=7.4;UID=odd;PWD={a;b}}c}"})));
  EXPECT_THAT(server_.take_log(), Contains("login user=odd application= database="));
}

TEST_F(FreeTdsTest, EncryptionThatIsDemandedAndNotToBeHadEndsTheConnectBeforeTheLogin) {
  const auto error = error_of([&] { (void)connect(u";Use Encryption for Data=True"); });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
  EXPECT_FALSE(error.description().empty());
  EXPECT_THAT(server_.take_log(), IsEmpty());
}

TEST_F(FreeTdsTest, ARefusedLoginHasTheServersNumber) {
  const auto error = error_of([&] {
    (void)engine_.connect(
        ado::ConnectionString::parse(join({u"Provider=SQLOLEDB;Data Source=", server_.data_source(),
                                           u";User ID=ann;Password=opensesame"})));
  });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kAuthenticationFailed));
  EXPECT_EQ(error.native(), 18456);
  EXPECT_THAT(to_utf8(error.description()), HasSubstr("Login failed for user 'ann'."));
  EXPECT_THAT(to_utf8(error.description()), Not(HasSubstr("opensesame")));
}

TEST_F(FreeTdsTest, AServerThatIsNotThereIsAnErrorWithAText) {
  const auto error = error_of([&] {
    (void)engine_.connect(
        ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=127.0.0.1,1;User ID=ann;"
                                     u"Password=opensesame;Connect Timeout=5"));
  });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
  EXPECT_FALSE(error.description().empty());
  EXPECT_THAT(to_utf8(error.description()), Not(HasSubstr("opensesame")));
}

// --- What goes over the wire -------------------------------------------------------------------

TEST_F(FreeTdsTest, StatementsArePlainBatchesAsTheyStand) {
  const auto session = connect();
  (void)server_.take_log();
  session->set_default_database(u"Velmar_Sec");
  session->execute(
      join({u"EXEC sp_setapprole '", StandIn::kRole, u"','", StandIn::kRolePassword, u"'"}));
  session->execute(u"SET LOCK_TIMEOUT 5000");
  session->execute(u"Delete From DW_Reports Where Title = '{fn now()} ? {d ''2023-12-24''} ?'");
  (void)read(*session, kSales);
  EXPECT_THAT(
      server_.take_log(),
      ElementsAre("batch USE [Velmar_Sec]", "database master -> Velmar_Sec", kIsolation,
                  "batch EXEC sp_setapprole 'tarnwick_app','Open-Sesame_1'",
                  "batch SET LOCK_TIMEOUT 5000",
                  "batch Delete From DW_Reports Where Title = '{fn now()} ? {d ''2023-12-24''} ?'",
                  "batch Select * From DW_Reports Where ReportName = 'Sales'"));
}

TEST_F(FreeTdsTest, ARoleThatIsRefusedHasTheServersNumberAndNotThePassword) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  const auto error =
      error_of([&] { session->execute(u"EXEC sp_setapprole 'tarnwick_app','Not-This'"); });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kAuthenticationFailed));
  EXPECT_EQ(error.native(), 15161);
  EXPECT_THAT(to_utf8(error.description()), Not(HasSubstr("Not-This")));
}

TEST_F(FreeTdsTest, ARowIsMaintainedByAHintAndItsKeyInOneTransaction) {
  const auto session = session_with_sales();
  session->begin();
  auto held = hold(*session);
  held.update({{u"SoftLock", Text(u"HOST - now")}});
  held.update({{u"Title", Text(u"New")}, {u"Created", Date{45284.75}}, {u"SoftLock", Text()}});
  session->commit();
  EXPECT_THAT(
      server_.take_log(),
      ElementsAre(
          "transaction begin",
          "batch Select * From DW_Reports WITH (UPDLOCK, ROWLOCK) Where ReportName = 'Sales'",
          "rpc EXEC sp_pkeys @table_name = 'DW_Reports'",
          "rpc UPDATE DW_Reports SET [SoftLock] = @P1 WHERE [ReportName] = @P2 | @P1 "
          "NVARCHAR(4000),@P2 NVARCHAR(4000) | nvarchar(4000) 'HOST - now' | nvarchar(4000) "
          "'Sales'",
          "rpc UPDATE DW_Reports SET [Title] = @P1, [Created] = @P2, [SoftLock] = @P3 WHERE "
          "[ReportName] = @P4 | @P1 NVARCHAR(4000),@P2 DATETIME2,@P3 NVARCHAR(4000),@P4 "
          "NVARCHAR(4000) | nvarchar(4000) 'New' | datetime2(7) 2023-12-24 18:00:00.0000000 | "
          "nvarchar(4000) '' | nvarchar(4000) 'Sales'",
          // The driver begins the next transaction with the commit and drops it again.
          "transaction commit begin", "transaction rollback"));
}

TEST_F(FreeTdsTest, ManyRowsArriveInBlocks) {
  const auto session = open_session();
  auto rows = read(*session, u"Select * From DW_SEC_PC");
  session->begin();
  for (std::int16_t i = 1; i <= 2'500; ++i) {
    rows.insert({{u"MACNbr", Text(u"00-1A")},
                 {u"ComputerID", i % 3 == 0 ? Text(128, u'\u017c') : Text(u"P")},
                 {u"CompID", i},
                 {u"MaintType", std::int32_t{5}},
                 {u"ActiveStatus", i % 2 == 0},
                 {u"ImageIndex", i},
                 {u"LastUser", i % 5 == 0 ? Variant(Null{}) : Variant(Text())}});
  }
  session->commit();
  const auto all = read(*session, u"Select * From DW_SEC_PC Order By CompID");
  ASSERT_EQ(all.size(), 2'500u);
  for (std::int16_t i = 1; i <= 2'500; ++i) {
    const auto row = static_cast<std::size_t>(i - 1);
    ASSERT_EQ(all.value(u"CompID", row), Variant(i));
    ASSERT_EQ(all.value(u"ComputerID", row),
              Variant(i % 3 == 0 ? Text(128, u'\u017c') : Text(u"P")));
    ASSERT_EQ(all.value(u"ActiveStatus", row), Variant(i % 2 == 0));
    ASSERT_EQ(is_null(all.value(u"LastUser", row)), i % 5 == 0);
  }
}

// --- Errors ------------------------------------------------------------------------------------

TEST_F(FreeTdsTest, ALockTimeoutIsToldByItsNumberAtTheStatementAndBehindTheFirstRows) {
  const auto session = session_with_sales();
  for (const TextView kind : {u"FAIL", u"LATE"}) {
    server_.order(
        join({kind, u" 'From DW_Reports' 1222 'Lock request time out period exceeded.'"}));
    const auto error = error_of([&] { (void)read(*session, u"Select * From DW_Reports"); });
    EXPECT_EQ(error.native(), 1222) << to_utf8(kind);
    EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
    EXPECT_EQ(read(*session, kSales).size(), 1u);
  }
}

TEST_F(FreeTdsTest, ARowThatIsNotHadInTimeIsNotShownButItsColumnsAre) {
  const auto session = session_with_sales();
  for (const TextView kind : {u"FAIL", u"LATE"}) {
    session->begin();
    server_.order(join({kind, u" 'UPDLOCK' 1222 'Lock request time out period exceeded.'"}));
    const auto held = hold(*session);
    // What came before the time-out was locked and is shown.
    EXPECT_EQ(held.size(), kind == u"FAIL" ? 0u : 1u);
    EXPECT_EQ(held.column(u"ReportName"), 0u);
    session->rollback();
  }
}

TEST_F(FreeTdsTest, ADeadlocksVictimKnowsThatItsTransactionIsGone) {
  const auto session = session_with_sales();
  session->begin();
  auto held = hold(*session);
  held.update({{u"Title", Text(u"New")}});
  server_.order(u"ROLL_BACK 'SET [Author]' 1205 'chosen as the deadlock victim'");
  (void)server_.take_log();
  EXPECT_EQ(error_of([&] { held.update({{u"Author", Text(u"Ann")}}); }).native(), 1205);
  EXPECT_EQ(error_of([&] {
              held.update({{u"Version", Text(u"2")}});
            }).description(),
            u"The database server has rolled the transaction back.");
  EXPECT_THROW(session->commit(), ado::AdoError);
  session->rollback();
  EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(Text(u"Old")));

  session->begin();
  hold(*session).update({{u"Title", Text(u"Newer")}});
  session->commit();
  EXPECT_EQ(read(*open_session(), kSales).value(u"Title"), Variant(Text(u"Newer")));
}

TEST_F(FreeTdsTest, AnErrorThatTakesTheTransactionWithItIsFoundOutByAsking) {
  const auto session = session_with_sales();
  session->begin();
  auto held = hold(*session);
  held.update({{u"Title", Text(u"New")}});
  server_.order(u"ROLL_BACK 'SET [Author]' 245 'Conversion failed'");
  EXPECT_EQ(error_of([&] { held.update({{u"Author", Text(u"Ann")}}); }).native(), 245);
  EXPECT_EQ(error_of([&] { session->commit(); }).description(),
            u"The database server has rolled the transaction back.");
  session->rollback();
  EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(Text(u"Old")));
}

TEST_F(FreeTdsTest, AnErrorOfALongWriteLeavesTransactionAndConnectionUsable) {
  const auto session = session_with_sales();
  const Bytes payload(5'000'000, std::byte{7});
  session->begin();
  auto held = hold(*session);
  server_.order(u"FAIL 'SET [Report_Binary]' 8152 'String or binary data would be truncated.'");
  EXPECT_EQ(error_of([&] { held.update({{u"Report_Binary", payload}}); }).native(), 8152);
  held.update({{u"Report_Binary", payload}, {u"SQLStmnt", Text(100'000, u'\u017c')}});
  session->commit();
  const auto row = read(*session, kSales);
  EXPECT_TRUE(row.value(u"Report_Binary") == Variant(payload));
  EXPECT_TRUE(row.value(u"SQLStmnt") == Variant(Text(100'000, u'\u017c')));
}

/// The driver manager, of which one of the calls that hand over a long value fails before it
/// reaches the driver.
class DataBrokenOff final : public odbc::OdbcApi {
 public:
  std::size_t failing_call = 0;  // counted from 1
  std::size_t calls = 0;
  std::size_t refused_frees = 0;

  SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) override {
    return ++calls == failing_call ? SQL_ERROR : OdbcApi::param_data(stmt, token);
  }
  SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) override {
    return ++calls == failing_call ? SQL_ERROR : OdbcApi::put_data(stmt, data, length);
  }
  SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) override {
    const SQLRETURN result = OdbcApi::free_handle(type, handle);
    if (!SQL_SUCCEEDED(result)) ++refused_frees;
    return result;
  }
};

TEST_F(FreeTdsTest, ALongWriteThatBreaksOffSendsNothingAndLeavesTheTransactionUsable) {
  (void)session_with_sales();
  const Bytes payload(2'500'000, std::byte{7});  // three pieces
  DataBrokenOff api;
  odbc::OdbcEngine engine(api);
  for (std::size_t call = 1;; ++call) {
    SCOPED_TRACE(call);
    {
      const auto session = open_session_with(engine);
      session->begin();
      auto held = hold(*session);
      held.update({{u"Author", Text(u"Ann")}});
      (void)server_.take_log();
      api.calls = 0;
      api.failing_call = call;
      const auto write = [&] {
        held.update({{u"Report_Binary", payload}, {u"TTX_Binary", payload}});
      };
      if (call >
          9) {  // each value is asked for and sent in pieces, and then there is one call more
        write();
        EXPECT_EQ(api.calls, 9u);
        break;
      }
      EXPECT_EQ(error_of(write).number(), number(AdoErrorNumber::kUnspecified));
      EXPECT_THAT(server_.take_log(), Not(Contains(HasSubstr("Report_Binary"))));
      EXPECT_TRUE(session->alive());
      if (call % 2 == 0) {
        session->rollback();
      } else {
        held.update({{u"Title", Text(u"After")}});
        session->commit();
      }
    }
    EXPECT_EQ(api.refused_frees, 0u);
    const auto other = open_session();
    other->begin();
    const auto row = hold(*other);
    ASSERT_EQ(row.size(), 1u) << "it is still locked";
    EXPECT_EQ(row.value(u"Title"), Variant(Text(call % 2 == 0 ? u"Old" : u"After")));
    EXPECT_TRUE(is_null(row.value(u"Report_Binary")));
    other->rollback();
    open_session()->execute(u"Update DW_Reports Set Title = 'Old', Author = Null");
  }
}

TEST_F(FreeTdsTest, ACommitThatTheServerRefusesLeavesTheTransactionToBeRolledBack) {
  const auto session = session_with_sales();
  session->begin();
  hold(*session).update({{u"Title", Text(u"New")}});
  server_.order(u"FAIL 'transaction commit' 3930 'The current transaction cannot be committed'");
  EXPECT_EQ(error_of([&] { session->commit(); }).native(), 3930);
  session->rollback();
  EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(Text(u"Old")));
  session->begin();
  hold(*session).update({{u"Title", Text(u"Newer")}});
  session->commit();
  EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(Text(u"Newer")));
}

TEST_F(FreeTdsTest, WhicheverCallFailsARowIsMaintainedAsAWholeOrNotAtAll) {
  const auto observer = session_with_sales();
  observer->execute(u"SET LOCK_TIMEOUT 10000");
  const auto maintain = [&](ado::EngineSession& session) {
    session.set_default_database(u"Velmar_Sec");
    session.execute(
        join({u"EXEC sp_setapprole '", StandIn::kRole, u"','", StandIn::kRolePassword, u"'"}));
    (void)read(session, u"Select * From DW_Reports");
    session.begin();
    auto held = hold(session);
    if (held.size() != 1) throw ado::AdoError(AdoErrorNumber::kUnspecified, u"no row");
    held.update({{u"SoftLock", Text(u"HOST - now")}});
    held.update({{u"Title", Text(u"New")}});
    held.update({{u"Author", Text(u"Ann")}, {u"SoftLock", Text()}});
    session.commit();
  };
  std::size_t errors = 0;
  for (std::size_t call = 1;; ++call) {
    SCOPED_TRACE(call);
    observer->execute(u"Update DW_Reports Set Title = 'Old', Author = Null");
    FaultyOdbc api;
    api.failing_call = call;
    bool done = false;
    try {
      odbc::OdbcEngine engine(api);
      const auto session =
          engine.connect(ado::ConnectionString::parse(server_.connection_string()));
      maintain(*session);
      done = true;
    } catch (const ado::AdoError& error) {
      EXPECT_FALSE(error.description().empty());
      ++errors;
    }
    EXPECT_EQ(api.open_handles, 0);
    const auto row = read(*observer, kSales);
    const bool is_new = row.value(u"Title") == Variant(Text(u"New"));
    EXPECT_EQ(row.value(u"Author"), is_new ? Variant(Text(u"Ann")) : Variant(Null{}));
    EXPECT_TRUE(is_new || !done);
    if (!api.has_failed()) break;
    ASSERT_LT(call, 1000u);
  }
  // Far the most calls matter.
  EXPECT_GT(errors, 50u);
}

}  // namespace
}  // namespace tarnwick::odbc_test
