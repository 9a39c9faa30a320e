#include "engines/odbc/session.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "engines/odbc/engine.h"
#include "tests/engines/odbc/errors.h"
#include "tests/engines/odbc/scripted_odbc.h"

namespace tarnwick::odbc_test {
namespace {

using ado::AdoErrorNumber;
using odbc::Diagnostic;
using testing::ElementsAre;
using testing::IsEmpty;

class OdbcSessionTest : public testing::Test {
 protected:
  std::unique_ptr<ado::EngineSession> connect(
      TextView string = u"Provider=SQLOLEDB;Data Source=h;User ID=ann;Password=opensesame") {
    auto session = engine_.connect(ado::ConnectionString::parse(string));
    log_of_connect_ = odbc_.take_log();
    return session;
  }

  ScriptedOdbc odbc_;
  odbc::OdbcEngine engine_{odbc_};
  std::vector<Text> log_of_connect_;
};

// --- Connecting --------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, APoolIsSwitchedOffBeforeTheConnectionIsMade) {
  odbc_.logs_options = true;
  const auto session =
      connect(u"Provider=SQLOLEDB;Data Source=h;User ID=ann;Password=opensesame;Connect Timeout=9");
  EXPECT_THAT(
      log_of_connect_,
      ElementsAre(
          u"pooling off", u"login timeout 9",
          u"connect "
          u"Timeout=30;Driver={FreeTDS};Server=h;Port=1433;TDS_Version=7.4;UID=ann;PWD=opensesame;"
          u"Encryption=request;",
          u"general timeout 30",
          u"exec SET TEXTSIZE 2147483647; SET NOCOUNT OFF; SET XACT_ABORT OFF; SET ANSI_NULLS, "
          u"ANSI_PADDING, ANSI_WARNINGS, QUOTED_IDENTIFIER ON; SET LOCK_TIMEOUT -1",
          u"exec IF EXISTS (SELECT 1 FROM sys.databases WHERE database_id = DB_ID() AND "
          u"is_read_committed_snapshot_on = 1) SET TRANSACTION ISOLATION LEVEL REPEATABLE READ "
          u"ELSE SET TRANSACTION ISOLATION LEVEL READ COMMITTED"));
}

TEST_F(OdbcSessionTest, AnotherServersOptionsAreNotTouched) {
  odbc_.dbms = u"SQLite";
  odbc_.logs_options = true;
  const auto session = connect(u"Provider=MSDASQL;DSN=x");
  EXPECT_THAT(log_of_connect_, ElementsAre(u"pooling off", u"login timeout 15", u"connect DSN=x;",
                                           u"general timeout 30"));
}

TEST_F(OdbcSessionTest, AProviderForSqlServerNeedsNoNameOfTheServerToLockRows) {
  odbc_.dbms = u"Another product that speaks the same";
  odbc_.on(u"From T", {{.columns = {{u"a", small_integer()}}}});
  const auto hold = [&](TextView string) {
    (void)connect(string)->open(
        {.statement = u"Select a From T", .lock = ado::LockType::kPessimistic});
  };
  hold(u"Provider=SQLOLEDB;Data Source=h");
  EXPECT_EQ(error_of([&] { hold(u"Provider=MSDASQL;DSN=x"); }).number(), 3251);
}

TEST_F(OdbcSessionTest, ARefusedLoginIsAnAuthenticationErrorWithTheServersText) {
  odbc_.connect_errors = {
      {"08001", 0, u"[FreeTDS][SQL Server]Unable to connect to data source"},
      {"28000", 18456, u"[FreeTDS][SQL Server]Login failed for user 'ann'."},
      {"01000", 20002, u"[FreeTDS][SQL Server]Adaptive Server connection failed"}};
  const auto error = error_of([&] { (void)connect(); });
  EXPECT_EQ(error.number(), -2147217843);
  EXPECT_EQ(error.native(), 18456);
  EXPECT_EQ(error.sqlstate(), "28000");
  EXPECT_EQ(error.description(), u"[FreeTDS][SQL Server]Login failed for user 'ann'.");
}

TEST_F(OdbcSessionTest, AServerThatIsNotThereIsAnErrorAndNoLostConnection) {
  odbc_.connect_errors = {{"08001", 0, u"no such host"}};
  try {
    (void)connect();
    FAIL();
  } catch (const ado::ConnectionLost&) {
    FAIL() << "there was no connection to lose";
  } catch (const ado::AdoError& error) {
    EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
    EXPECT_EQ(error.description(), u"no such host");
  }
  EXPECT_EQ(odbc_.open_handles, 0u);
}

TEST_F(OdbcSessionTest, ATextThatHoldsThePasswordIsWithheld) {
  odbc_.connect_errors = {{"HY000", 5, u"cannot read PWD=opensesame;"}};
  const auto error = error_of([&] { (void)connect(); });
  EXPECT_EQ(error.description(),
            u"The connection failed; the driver's text is withheld, it holds the password.");
  EXPECT_EQ(error.native(), 5);
}

TEST_F(OdbcSessionTest, EverythingIsGivenBackAtTheEnd) {
  connect().reset();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"disconnect"));
  EXPECT_EQ(odbc_.open_handles, 0u);
}

// --- Statements --------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, StatementsGoOutAsTheyStand) {
  const auto session = connect();
  session->execute(u"EXEC sp_setapprole 'tarnwick_app','it{fn now()}?'");
  session->execute(u"SET LOCK_TIMEOUT 5000");
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"exec EXEC sp_setapprole 'tarnwick_app','it{fn now()}?'",
                          u"exec SET LOCK_TIMEOUT 5000"));
}

TEST_F(OdbcSessionTest, ADatabaseIsChosenThroughTheDriver) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"database Velmar_Sec"));
}

TEST_F(OdbcSessionTest, AnUnknownDatabaseIsACommandErrorOnEveryDriver) {
  const auto session = connect();
  for (const auto* state : {"42000", "08004"}) {
    odbc_.database_error = Diagnostic{state, 911, u"Database 'x' does not exist."};
    const auto error = error_of([&] { session->set_default_database(u"x"); });
    EXPECT_EQ(error.number(), -2147217900) << state;
    EXPECT_EQ(error.native(), 911);
  }
  odbc_.database_error.reset();
  session->set_default_database(u"y");
}

TEST_F(OdbcSessionTest, AnErrorOfALaterResultIsNotPassedOver) {
  const auto session = connect();
  Reply reply;
  reply.later_error = Diagnostic{"42000", 50000, u"raised by a trigger"};
  odbc_.on(u"DELETE", {reply});
  EXPECT_EQ(error_of([&] { session->execute(u"DELETE FROM T"); }).native(), 50000);
}

TEST_F(OdbcSessionTest, ADeleteThatFindsNoRowIsNoError) {
  const auto session = connect();
  Reply reply;
  reply.no_data = true;
  odbc_.on(u"DELETE", {reply});
  session->execute(u"DELETE FROM T");
}

// --- Errors ------------------------------------------------------------------------------------

struct ErrorCase {
  const char* sqlstate;
  std::int32_t native;
  std::int32_t number;
};

TEST_F(OdbcSessionTest, EveryKindOfErrorHasItsNumber) {
  const auto session = connect();
  for (const ErrorCase& expected :
       {ErrorCase{"42000", 102, -2147217900}, ErrorCase{"42S02", 208, -2147217900},
        ErrorCase{"S0002", 208, -2147217900}, ErrorCase{"37000", 170, -2147217900},
        ErrorCase{"23000", 2627, -2147217873}, ErrorCase{"HY000", 2601, -2147217873},
        ErrorCase{"42000", 547, -2147217873}, ErrorCase{"42000", 229, -2147217911},
        ErrorCase{"42000", 15161, -2147217843}, ErrorCase{"40001", 1205, -2147467259},
        ErrorCase{"22001", 2628, -2147467259}, ErrorCase{"HY000", 0, -2147467259}}) {
    odbc_.on(u"EXEC x", {fails(expected.sqlstate, expected.native, u"the driver's text")});
    const auto error = error_of([&] { session->execute(u"EXEC x"); });
    EXPECT_EQ(error.number(), expected.number) << expected.sqlstate << " " << expected.native;
    EXPECT_EQ(error.native(), expected.native);
    EXPECT_EQ(error.sqlstate(), expected.sqlstate);
    EXPECT_EQ(error.description(), u"the driver's text");
  }
}

TEST_F(OdbcSessionTest, EveryErrorIsOfAKind) {
  using ado::FailureKind;
  const auto session = connect();
  for (const auto& [state, native, kind] : {std::tuple{"40001", 1205, FailureKind::kDeadlock},
                                            std::tuple{"40001", 7, FailureKind::kDeadlock},
                                            std::tuple{"42000", 9002, FailureKind::kDiskFull},
                                            std::tuple{"42000", 1105, FailureKind::kDiskFull},
                                            std::tuple{"42000", 1101, FailureKind::kDiskFull},
                                            std::tuple{"23000", 2627, FailureKind::kRefused},
                                            std::tuple{"42000", 229, FailureKind::kRefused},
                                            std::tuple{"42000", 102, FailureKind::kRefused},
                                            std::tuple{"22001", 2628, FailureKind::kRefused},
                                            std::tuple{"HY000", 823, FailureKind::kOther}}) {
    odbc_.on(u"EXEC x", {fails(state, native, u"the driver's text")});
    EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).kind(), kind) << native;
    session->begin();
    odbc_.commit_error = Diagnostic{state, native, u"the driver's text"};
    const auto error = error_of([&] { session->commit(); });
    EXPECT_EQ(error.kind(), kind) << native;
    EXPECT_EQ(error.native(), native);
    EXPECT_EQ(error.sqlstate(), state);
    EXPECT_EQ(error.description(), u"the driver's text");
    session->rollback();
  }
}

TEST_F(OdbcSessionTest, ALockTimeoutIsToldByItsNativeNumberWhateverItsState) {
  const auto session = connect();
  for (const auto* state : {"42000", "HY000", "HYT00", "S1T00"}) {
    odbc_.on(u"EXEC x", {fails(state, 1222, u"[FreeTDS][SQL Server]Lock request time out.")});
    const auto error = error_of([&] { session->execute(u"EXEC x"); });
    EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified)) << state;
    EXPECT_EQ(error.native(), 1222);
    EXPECT_EQ(error.description(), u"Lock request time out period exceeded.");
  }
  odbc_.on(u"EXEC x", {fails("HYT00", 0, u"Timeout expired")});
  EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).native(), 0);
}

TEST_F(OdbcSessionTest, ADriverThatDoesNotExplainItselfStillEndsInAnError) {
  const auto session = connect();
  // A failed handle without a record: its last text is long gone.
  odbc_.on(u"EXEC x", {fails("", 0, u"")});
  const auto error = error_of([&] { session->execute(u"EXEC x"); });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
}

TEST_F(OdbcSessionTest, ALongTextArrivesWhole) {
  const auto session = connect();
  const Text text(5000, u'x');
  odbc_.on(u"EXEC x", {fails("42000", 1, text)});
  EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).description(), text);
}

TEST_F(OdbcSessionTest, WhatMightQuoteTheRolesPasswordIsWithheld) {
  const auto session = connect();
  odbc_.on(u"sp_setapprole", {fails("42000", 102, u"Incorrect syntax near 'ive'."),
                              fails("42000", 15161,
                                    u"Cannot set application role 'r' because it "
                                    u"does not exist or the password is incorrect.")});
  const auto enter = [&] { session->execute(u"exec SP_SETAPPROLE 'r','secret'ive'"); };
  const auto enter_role = [&] { session->execute(u"EXEC sp_setapprole 'r','x'"); };
  odbc_.on(u"SP_SETAPPROLE", {fails("42000", 102, u"Incorrect syntax near 'ive'.")});
  const auto malformed = error_of(enter);
  EXPECT_EQ(malformed.number(), -2147217900);
  EXPECT_EQ(malformed.native(), 102);
  EXPECT_EQ(malformed.description().find(u"ive'"), Text::npos);
  (void)error_of(enter_role);
  const auto refused = error_of(enter_role);
  EXPECT_EQ(refused.number(), -2147217843);
  EXPECT_EQ(refused.description(),
            u"Cannot set application role 'r' because it does not exist or "
            u"the password is incorrect.");
}

TEST_F(OdbcSessionTest, WhatAQuoteInTheRolesPasswordMakesAStatementOfIsWithheld) {
  const auto session = connect();
  odbc_.on(u"sp_setapprole", {fails("42000", 2812, u"Could not find stored procedure 'secret'.")});
  for (const TextView statement :
       {u"EXEC sp_setapprole 'r','x';secret --'", u"EXEC sp_setapprole 'r','x' secret''",
        u"EXEC sp_setapprole 'r'/*','*/,'x'", u"EXEC sp_setapprole 'r','x"}) {
    const auto error = error_of([&] { session->execute(statement); });
    EXPECT_EQ(error.native(), 2812);
    EXPECT_EQ(error.description().find(u"secret"), Text::npos) << to_utf8(statement);
  }
  const auto doubled = error_of([&] { session->execute(u"EXEC sp_setapprole 'r','it''s'"); });
  EXPECT_EQ(doubled.description(), u"Could not find stored procedure 'secret'.");
}

// --- Transactions ------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, ATransactionIsATimeWithoutAutoCommit) {
  const auto session = connect();
  session->begin();
  session->commit();
  session->begin();
  session->rollback();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"autocommit off", u"commit", u"autocommit on",
                                            u"autocommit off", u"rollback", u"autocommit on"));
}

TEST_F(OdbcSessionTest, ASessionThatEndsInATransactionRollsBack) {
  auto session = connect();
  session->begin();
  (void)odbc_.take_log();
  session.reset();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"rollback", u"disconnect"));
}

TEST_F(OdbcSessionTest, ACommitThatFailsLeavesTheTransactionOpen) {
  const auto session = connect();
  session->begin();
  odbc_.commit_error = Diagnostic{"42000", 3930, u"refused"};
  EXPECT_EQ(error_of([&] { session->commit(); }).native(), 3930);
  odbc_.commit_error.reset();
  (void)odbc_.take_log();
  session->rollback();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"rollback", u"autocommit on"));
}

TEST_F(OdbcSessionTest, WhatIsCommittedIsNoFailureEvenIfTheConnectionGoesRightAfter) {
  const auto session = connect();
  session->begin();
  odbc_.auto_commit_on_error = Diagnostic{"08S01", 0, u"gone"};
  session->commit();
  EXPECT_THROW(session->execute(u"SELECT 1"), ado::ConnectionLost);
}

TEST_F(OdbcSessionTest, ADeadlocksVictimDoesNotPretendToHoldItsTransaction) {
  const auto session = connect();
  session->begin();
  odbc_.on(u"UPDATE", {fails("40001", 1205, u"chosen as the deadlock victim")});
  EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 1205);
  (void)odbc_.take_log();
  // Nothing more is sent, so nothing can commit by itself outside the transaction.
  const auto refused = error_of([&] { session->execute(u"DELETE FROM T"); });
  EXPECT_EQ(refused.description(), u"The database server has rolled the transaction back.");
  EXPECT_THROW((void)session->open({.statement = u"SELECT a FROM T"}), ado::AdoError);
  EXPECT_THROW(session->commit(), ado::AdoError);
  EXPECT_THAT(odbc_.take_log(), IsEmpty());

  session->rollback();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec IF @@TRANCOUNT = 0 BEGIN TRANSACTION",
                                            u"rollback", u"autocommit on"));
  session->execute(u"DELETE FROM T");
}

TEST_F(OdbcSessionTest, AnErrorThatTookTheTransactionWithItIsFoundOutByAsking) {
  for (const std::int16_t state : {std::int16_t{0}, std::int16_t{-1}}) {
    const auto session = connect();
    session->begin();
    session->execute(u"DELETE FROM T");
    odbc_.on(u"XACT_STATE", {{.columns = {{u"", small_integer()}}, .rows = {{state}}}});
    odbc_.on(u"UPDATE", {fails("22018", 245, u"Conversion failed")});
    EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 245);
    EXPECT_EQ(error_of([&] { session->execute(u"DELETE FROM T"); }).native(), 0);
    session->rollback();
  }
}

TEST_F(OdbcSessionTest, AServerThatCannotBeAskedHasNotSaidThatTheTransactionIsGone) {
  const auto session = connect();
  session->begin();
  session->execute(u"DELETE FROM T");
  odbc_.on(u"XACT_STATE", {fails("42000", 195, u"not a recognized built-in function name")});
  odbc_.on(u"UPDATE", {fails("22018", 245, u"Conversion failed")});
  EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 245);
  session->execute(u"DELETE FROM T");
  session->commit();
}

TEST_F(OdbcSessionTest, ALockTimeoutNeedsNoAsking) {
  const auto session = connect();
  session->begin();
  session->execute(u"DELETE FROM T");
  odbc_.on(u"UPDATE", {fails("42000", 1222, u"locked")});
  (void)odbc_.take_log();
  EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 1222);
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec UPDATE T SET a = 1"));
}

TEST_F(OdbcSessionTest, AnOldServerThatLacksAnOptionIsConnectedToAllTheSame) {
  odbc_.on(u"SET TEXTSIZE", {fails("42000", 195, u"not a recognized SET option")});
  odbc_.on(u"sys.databases", {fails("42S02", 208, u"Invalid object name")});
  connect()->execute(u"DELETE FROM T");
  odbc_.on(u"SET TEXTSIZE", {fails("HY001", 0, u"no memory")});
  EXPECT_EQ(error_of([&] { (void)connect(); }).description(), u"no memory");
}

TEST_F(OdbcSessionTest, AnErrorBeforeAnythingWasDoneHasNoTransactionToLose) {
  const auto session = connect();
  session->begin();
  session->execute(u"SET LOCK_TIMEOUT 2000");
  odbc_.on(u"XACT_STATE", {{.columns = {{u"", small_integer()}}, .rows = {{std::int16_t{0}}}}});
  odbc_.on(u"Selct", {fails("42000", 102, u"Incorrect syntax")});
  EXPECT_EQ(error_of([&] { session->execute(u"Selct"); }).native(), 102);
  session->execute(u"DELETE FROM T");
  session->commit();
}

TEST_F(OdbcSessionTest, AnOrdinaryErrorOrALockTimeoutLeavesTheTransactionOpen) {
  const auto session = connect();
  session->begin();
  session->execute(u"DELETE FROM T");
  odbc_.on(u"INSERT", {fails("23000", 2627, u"duplicate"), fails("42000", 1222, u"locked")});
  EXPECT_EQ(error_of([&] { session->execute(u"INSERT"); }).native(), 2627);
  EXPECT_EQ(error_of([&] { session->execute(u"INSERT"); }).native(), 1222);
  session->execute(u"DELETE FROM T");
  session->commit();
}

// --- Lost connections --------------------------------------------------------------------------

TEST_F(OdbcSessionTest, ALostConnectionIsToldByStateNumberOrTheDriversAttribute) {
  for (const auto& [state, native] :
       {std::pair{"08S01", 0}, std::pair{"08003", 0}, std::pair{"HY000", 596},
        std::pair{"HY000", 20047}, std::pair{"08S01", 1222}}) {
    const auto session = connect();
    odbc_.on(u"EXEC x", {fails(state, native, u"broken pipe")});
    EXPECT_THROW(session->execute(u"EXEC x"), ado::ConnectionLost) << state << " " << native;
  }
  const auto session = connect();
  odbc_.on(u"EXEC x", {fails("HY000", 0, u"something")});
  odbc_.dead = true;
  EXPECT_THROW(session->execute(u"EXEC x"), ado::ConnectionLost);
}

TEST_F(OdbcSessionTest, AfterALostConnectionNothingIsSentAnyMore) {
  auto session = connect();
  session->begin();
  odbc_.on(u"EXEC x", {fails("08S01", 10054, u"[FreeTDS]broken pipe")});
  try {
    session->execute(u"EXEC x");
    FAIL();
  } catch (const ado::ConnectionLost& error) {
    EXPECT_EQ(error.native(), 10054);
    EXPECT_EQ(error.description(),
              u"The connection to the database server is lost. [FreeTDS]broken pipe");
  }
  (void)odbc_.take_log();
  EXPECT_THROW(session->execute(u"SELECT 1"), ado::ConnectionLost);
  EXPECT_THROW(session->commit(), ado::ConnectionLost);
  EXPECT_THROW(session->rollback(), ado::ConnectionLost);
  EXPECT_THROW((void)session->held_rows(), ado::ConnectionLost);
  EXPECT_THAT(odbc_.take_log(), IsEmpty());
  session.reset();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"disconnect"));
  EXPECT_EQ(odbc_.open_handles, 0u);
}

TEST_F(OdbcSessionTest, AConnectionLostWhileTheRolesPasswordIsSentIsStillLost) {
  const auto session = connect();
  odbc_.on(u"sp_setapprole", {fails("08S01", 0, u"broken pipe")});
  EXPECT_THROW(session->execute(u"EXEC sp_setapprole 'r','p'"), ado::ConnectionLost);
}

TEST_F(OdbcSessionTest, ALossIsToldInOneSentenceWithTheDriversTextBehindIt) {
  const auto session = connect();
  odbc_.on(u"EXEC x", {fails("HY000", 0, u"[FreeTDS][SQL Server]Unknown error")});
  odbc_.dead = true;
  const auto error = error_of([&] { session->execute(u"EXEC x"); });
  EXPECT_EQ(error.description(),
            u"The connection to the database server is lost. [FreeTDS][SQL Server]Unknown error");
  EXPECT_EQ(error.sqlstate(), "HY000");
  EXPECT_EQ(error.kind(), ado::FailureKind::kConnectionLost);
}

TEST_F(OdbcSessionTest, AnUnclearComplaintIsALossWhereNothingIsAnsweredAnyMore) {
  for (const TextView step : {u"EXEC x", u"commit"}) {
    const auto session = connect();
    if (step == u"commit") session->begin();
    odbc_.on(u"EXEC x", {fails("HY000", 0, u"Unknown error")});
    odbc_.commit_error = Diagnostic{"HY000", 0, u"Unknown error"};
    for (const TextView probe : {u"SELECT 1", u"XACT_STATE"}) {
      odbc_.on(probe, {fails("HY000", 0, u"Unknown error")});
    }
    odbc_.on(u"sys.databases", {{}});
    const auto run = [&] { step == u"commit" ? session->commit() : session->execute(step); };
    EXPECT_THROW(run(), ado::ConnectionLost) << to_utf8(step);
    EXPECT_FALSE(session->alive());
    EXPECT_THROW((void)session->held_rows(), ado::ConnectionLost);
  }
}

TEST_F(OdbcSessionTest, AnUnclearComplaintOfAConnectionThatAnswersIsNoLoss) {
  const auto session = connect();
  for (const char* state : {"S1000", "HY000"}) {  // the words of ODBC 2 and 3
    odbc_.on(u"EXEC x", {fails(state, 0, u"Unknown error")});
    (void)odbc_.take_log();
    EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).description(), u"Unknown error");
    EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec EXEC x", u"exec SELECT 1"));
  }
  session->begin();
  session->execute(u"DELETE FROM T");
  EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).description(), u"Unknown error");
  session->commit();
  EXPECT_TRUE(session->alive());
}

TEST_F(OdbcSessionTest, WhetherItIsAliveIsAskedOfTheServerEvenWhereTheTransactionIsGone) {
  const auto session = connect();
  session->begin();
  odbc_.on(u"UPDATE", {fails("40001", 1205, u"chosen as the deadlock victim")});
  EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 1205);
  EXPECT_TRUE(session->alive());
  // Busy, or without a right, or whatever: it answers.
  odbc_.on(u"SELECT 1", {fails("HYT00", 0, u"Timeout expired"), fails("42000", 102, u"what?"),
                         fails("08S01", 0, u"broken pipe")});
  EXPECT_TRUE(session->alive());
  EXPECT_TRUE(session->alive());
  EXPECT_FALSE(session->alive());
  (void)odbc_.take_log();
  EXPECT_FALSE(session->alive());
  EXPECT_THAT(odbc_.take_log(), IsEmpty());
}

TEST_F(OdbcSessionTest, ALossWhileTheRolesPasswordIsSentQuotesNothing) {
  const auto session = connect();
  odbc_.on(u"sp_setapprole", {fails("42000", 102, u"Incorrect syntax near 'secret'.")});
  odbc_.dead = true;
  const auto error = error_of([&] { session->execute(u"EXEC sp_setapprole 'r','it'secret'"); });
  EXPECT_EQ(error.description(), u"The connection to the database server is lost.");
  EXPECT_EQ(error.native(), 102);
}

TEST_F(OdbcSessionTest, ARollbackThatFailedKnowsAtTheNextTryThatTheTransactionIsGone) {
  const auto session = connect();
  session->begin();
  odbc_.on(u"UPDATE", {fails("40001", 1205, u"chosen as the deadlock victim")});
  EXPECT_EQ(error_of([&] { session->execute(u"UPDATE T SET a = 1"); }).native(), 1205);
  odbc_.on(u"@@TRANCOUNT", {fails("42000", 701, u"no memory"), {}});
  EXPECT_EQ(error_of([&] { session->rollback(); }).native(), 701);
  (void)odbc_.take_log();
  session->rollback();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec IF @@TRANCOUNT = 0 BEGIN TRANSACTION",
                                            u"rollback", u"autocommit on"));
}

// --- Time limits -------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, TheTimesOfTheConnectionStringAreTheDrivers) {
  odbc_.installed = {u"ODBC Driver 18 for SQL Server"};
  const auto session = connect(
      u"Provider=SQLOLEDB;Data Source=h;User ID=ann;Connect Timeout=4;General Timeout=0;Packet "
      u"Size=8192");
  EXPECT_THAT(log_of_connect_,
              ElementsAre(u"pooling off", u"login timeout 4", u"packet size 8192",
                          u"connect Driver={ODBC Driver 18 for SQL Server};Server=h;UID=ann;PWD=;"
                          u"Encrypt=no;",
                          u"general timeout 0"));
}

TEST_F(OdbcSessionTest, ADataSourceThatTurnsOutToBeFreeTdssIsConnectedToWithItsTimeLimit) {
  odbc_.driver_file = u"libtdsodbc.so";
  const auto session = connect(u"Provider=MSDASQL;DSN=x;PWD=p");
  EXPECT_THAT(
      log_of_connect_,
      ElementsAre(u"pooling off", u"login timeout 15", u"connect DSN=x;PWD=p;", u"disconnect",
                  u"connect Timeout=30;DSN=x;PWD=p;", u"general timeout 30"));
}

TEST_F(OdbcSessionTest, AStatementThatIsNotAnsweredInTimeIsATimeoutAndNoLockTimeout) {
  const auto session = connect();
  for (const auto* state : {"HYT00", "HYT01", "S1T00"}) {
    odbc_.on(u"EXEC x", {fails(state, 0, u"[Microsoft]Query timeout expired")});
    const auto error = error_of([&] { session->execute(u"EXEC x"); });
    EXPECT_EQ(error.number(), -2147217871) << state;
    EXPECT_EQ(error.description(), u"Timeout expired");
    EXPECT_EQ(error.sqlstate(), state);
    EXPECT_EQ(error.kind(), ado::FailureKind::kTimeout);
  }
  odbc_.on(u"EXEC x", {fails("HYT00", 1222, u"Lock request time out period exceeded.")});
  EXPECT_EQ(error_of([&] { session->execute(u"EXEC x"); }).kind(), ado::FailureKind::kLockTimeout);
}

TEST_F(OdbcSessionTest, ATimeoutThatTakesTheConnectionWithItIsALoss) {
  const auto session = connect();
  session->begin();
  odbc_.commit_error = Diagnostic{"HYT00", 0, u"[FreeTDS]Timeout expired"};
  odbc_.dead = true;
  try {
    session->commit();
    FAIL();
  } catch (const ado::ConnectionLost& error) {
    EXPECT_EQ(error.number(), -2147217871);
    EXPECT_EQ(error.description(),
              u"The connection to the database server is lost. [FreeTDS]Timeout expired");
  }
}

TEST_F(OdbcSessionTest, ALoginThatIsNotAnsweredInTimeIsATimeout) {
  odbc_.connect_errors = {{"HYT00", 0, u"[FreeTDS]Timeout expired"},
                          {"08001", 0, u"[FreeTDS]Unable to connect to data source"}};
  const auto error = error_of([&] { (void)connect(); });
  EXPECT_EQ(error.number(), -2147217871);
  EXPECT_EQ(error.description(), u"Timeout expired");
  // A driver that tries until its time is up has found out more than that.
  odbc_.connect_errors = {{"08001", 10061, u"TCP Provider: refused"},
                          {"HYT00", 0, u"Login timeout expired"}};
  EXPECT_EQ(error_of([&] { (void)connect(); }).description(), u"TCP Provider: refused");
}

// --- Columns -----------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, ColumnsAreThoseThatTheServerShows) {
  const auto session = connect();
  odbc_.on(u"[T]", {{.columns = {{u"a", small_integer()}, {u"b", wide_text(9)}}},
                    fails("42S02", 208, u"Invalid object name 'T'."),
                    fails("42000", 229, u"The SELECT permission was denied"),
                    fails("HYT00", 0, u"Timeout expired"),
                    fails("08S01", 0, u"broken pipe")});
  EXPECT_EQ(session->columns_of(u"T"), (std::vector<Text>{u"a", u"b"}));
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec SELECT * FROM [T] WHERE 1 = 0"));
  EXPECT_EQ(session->columns_of(u"T"), std::vector<Text>{});
  EXPECT_EQ(session->columns_of(u"T"), std::nullopt);
  EXPECT_EQ(error_of([&] { (void)session->columns_of(u"T"); }).number(), -2147217871);
  EXPECT_THROW((void)session->columns_of(u"T"), ado::ConnectionLost);
}

// --- Held rows ---------------------------------------------------------------------------------

TEST_F(OdbcSessionTest, HeldRowsAreReadPastTheirLocks) {
  const auto session = connect();
  odbc_.on(u"FROM DW_SEC_PC",
           {{.columns = {{u"SoftLock", wide_text(100)},
                         {u"MACNbr", wide_text(50)},
                         {u"ComputerID", wide_text(128)},
                         {u"CompID", small_integer()}},
             .rows = {{Text(u"DESK-1 - now"), Text(u"00-1A"), Text(u"PC1"), std::int16_t{7}}}}});
  odbc_.on(u"FROM DW_Reports",
           {{.columns = {{u"SoftLock", wide_text(100)}, {u"ReportName", wide_text(128)}},
             .rows = {{Text(u"DESK-2 - then"), Text(u"Sales")}}}});
  const auto rows = session->held_rows();
  EXPECT_THAT(
      odbc_.take_log(),
      ElementsAre(u"exec SELECT SoftLock, CompID FROM DW_SEC_COMP WITH (NOLOCK) WHERE SoftLock <> "
                  u"''",
                  u"exec SELECT SoftLock, MACNbr, ComputerID, CompID FROM DW_SEC_PC WITH (NOLOCK) "
                  u"WHERE SoftLock <> ''",
                  u"exec SELECT SoftLock, ReportName FROM DW_Reports WITH (NOLOCK) WHERE SoftLock "
                  u"<> ''"));
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].table, u"DW_SEC_PC");
  EXPECT_EQ(rows[0].key, u"00-1A, PC1, 7");
  EXPECT_EQ(rows[0].stamp, u"DESK-1 - now");
  EXPECT_EQ(rows[0].process_id, std::nullopt);
  EXPECT_EQ(rows[1].table, u"DW_Reports");
  EXPECT_EQ(rows[1].key, u"Sales");
}

TEST_F(OdbcSessionTest, AHeldRowIsToldWhateverItsKeyIs) {
  const auto session = connect();
  odbc_.on(u"FROM DW_SEC_PC", {{.columns = {{u"SoftLock", wide_text(100)},
                                            {u"MACNbr", wide_text(50)},
                                            {u"ComputerID", wide_text(128)},
                                            {u"CompID", small_integer()}},
                                .rows = {{Text(u"DESK-1 - now"), Null{}, Text(u"PC1"), Null{}}}}});
  const auto rows = session->held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].key, u", PC1, ");
  EXPECT_EQ(rows[0].stamp, u"DESK-1 - now");
}

TEST_F(OdbcSessionTest, AnAnswerThatLacksColumnsIsAnError) {
  const auto session = connect();
  odbc_.on(u"FROM DW_SEC_PC",
           {{.columns = {{u"SoftLock", wide_text(100)}}, .rows = {{Text(u"DESK-1 - now")}}}});
  EXPECT_EQ(error_of([&] { (void)session->held_rows(); }).description(),
            u"The database server's answer lacks columns that were asked for.");
}

}  // namespace
}  // namespace tarnwick::odbc_test
