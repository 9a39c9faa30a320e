#include "ado/connection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ado/recordset.h"
#include "tests/ado/fake_engine.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

using testing::ElementsAre;
using testing::IsEmpty;

class ConnectionTest : public testing::Test {
 protected:
  ~ConnectionTest() override { EXPECT_EQ(engine.orphaned_rowsets, 0); }

  std::shared_ptr<Connection> opened() {
    auto connection = std::make_shared<Connection>(Engines{&engine}, &trace);
    connection->open(u"Provider=Fake;Data Source=here");
    engine.calls.clear();
    trace.lines.clear();
    return connection;
  }

  FakeEngine engine;
  TraceLines trace;
};

TEST_F(ConnectionTest, IsClosedUntilOpened) {
  Connection connection({&engine});
  EXPECT_EQ(connection.state(), ObjectState::kClosed);
  connection.set_connection_string(u"Provider=fake;Data Source=here");
  connection.open();
  EXPECT_EQ(connection.state(), ObjectState::kOpen);
  connection.close();
  EXPECT_EQ(connection.state(), ObjectState::kClosed);
  EXPECT_EQ(engine.live_sessions, 0);
  connection.open();
  EXPECT_EQ(connection.state(), ObjectState::kOpen);
}

TEST_F(ConnectionTest, TheArgumentsOfOpenTakeThePlaceOfTheProperty) {
  Connection connection({&engine});
  connection.set_connection_string(u"Provider=Nothing");
  connection.open(u"Provider=Fake.2;User ID=old", u"me", u"se;cret");
  EXPECT_EQ(connection.connection_string(), u"Provider=Fake.2;User ID=old");
  ASSERT_EQ(engine.connected_with.size(), 3u);
  EXPECT_EQ(engine.connected_with[1].value, u"me");
  EXPECT_EQ(engine.connected_with[2].name, u"Password");
  EXPECT_EQ(engine.connected_with[2].value, u"se;cret");
}

TEST_F(ConnectionTest, AMissingOrUnknownProviderIsNotFound) {
  Connection connection({&engine});
  for (const TextView string : {TextView(u"Data Source=here"), TextView(u"Provider=Other"),
                                TextView(u"Provider=Fak"), TextView()}) {
    EXPECT_EQ(error_number_of([&] { connection.open(string); }), 3706);
    EXPECT_EQ(connection.state(), ObjectState::kClosed);
  }
  EXPECT_EQ(error_description_of([&] { connection.open(u"Provider=Other"); }),
            u"Provider cannot be found. It may not be properly installed.");
  EXPECT_THAT(engine.calls, IsEmpty());
}

TEST_F(ConnectionTest, AnEngineIsChosenByItsProviderName) {
  FakeEngine other;
  Connection connection({&other, &engine});
  connection.open(u"Provider=FAKE");
  EXPECT_EQ(other.live_sessions, 1);
  EXPECT_EQ(engine.live_sessions, 0);
}

TEST_F(ConnectionTest, AStringThatCannotBeReadIsAnInvalidArgument) {
  Connection connection({&engine});
  EXPECT_EQ(error_number_of([&] { connection.open(u"Provider=Fake;secret"); }), 3001);
  EXPECT_EQ(error_description_of([&] { connection.open(u"Provider=Fake;secret"); }),
            u"The connection string cannot be read: item 2 has no \"=\".");
}

TEST_F(ConnectionTest, AnOpenThatFailsLeavesItClosed) {
  engine.fail("connect", AdoErrorNumber::kAuthenticationFailed);
  Connection connection({&engine});
  EXPECT_EQ(error_number_of([&] { connection.open(u"Provider=Fake"); }), -2147217843);
  EXPECT_EQ(connection.state(), ObjectState::kClosed);
}

TEST_F(ConnectionTest, WhatNeedsItClosedIsRefusedWhileOpen) {
  const auto connection = opened();
  EXPECT_EQ(error_number_of([&] { connection->open(u"Provider=Fake"); }), 3705);
  EXPECT_EQ(error_number_of([&] { connection->set_connection_string(u"Provider=Fake"); }), 3705);
  EXPECT_EQ(engine.live_sessions, 1);
}

TEST_F(ConnectionTest, WhatNeedsItOpenIsRefusedWhileClosed) {
  Connection connection({&engine}, &trace);
  EXPECT_EQ(error_number_of([&] { connection.close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection.set_default_database(u"D"); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection.execute(u"S"); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection.begin_trans(); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection.commit_trans(); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection.rollback_trans(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)connection.held_rows(); }), 3704);
  EXPECT_THAT(trace.lines, IsEmpty());
}

TEST_F(ConnectionTest, OptionsThatDoNotMeanTextAreRefused) {
  const auto connection = opened();
  for (const std::int32_t options :
       {kOptionUnspecified, kCommandText, kExecuteNoRecords, kCommandText | kExecuteNoRecords}) {
    EXPECT_EQ(error_number_of([&] { connection->execute(u"S", options); }), std::nullopt)
        << options;
  }
  for (const std::int32_t options : {2, 4, 16, -2}) {
    EXPECT_EQ(error_number_of([&] { connection->execute(u"S", options); }), 3001) << options;
  }
  Connection other({&engine});
  EXPECT_EQ(error_number_of([&] { other.open(u"Provider=Fake", {}, {}, 16); }), 3001);
}

TEST_F(ConnectionTest, TheDefaultDatabaseIsKeptOnceTheEngineTookIt) {
  const auto connection = opened();
  EXPECT_EQ(connection->default_database(), u"");
  connection->set_default_database(u"Things");
  EXPECT_EQ(connection->default_database(), u"Things");
  engine.fail("default-database", AdoErrorNumber::kCommandError);
  EXPECT_EQ(error_number_of([&] { connection->set_default_database(u"No"); }), -2147217900);
  EXPECT_EQ(connection->default_database(), u"Things");
}

TEST_F(ConnectionTest, OneTransactionAtATime) {
  const auto connection = opened();
  EXPECT_EQ(error_number_of([&] { connection->commit_trans(); }), -2147168242);
  EXPECT_EQ(error_number_of([&] { connection->rollback_trans(); }), -2147168242);
  connection->begin_trans();
  EXPECT_TRUE(connection->in_transaction());
  EXPECT_EQ(error_number_of([&] { connection->begin_trans(); }), -2147168237);
  connection->commit_trans();
  EXPECT_FALSE(connection->in_transaction());
  connection->begin_trans();
  connection->rollback_trans();
  EXPECT_FALSE(connection->in_transaction());
  EXPECT_THAT(engine.calls, ElementsAre("begin", "commit", "begin", "rollback"));
}

TEST_F(ConnectionTest, ABeginThatFailsLeavesNoTransaction) {
  const auto connection = opened();
  engine.fail("begin", AdoErrorNumber::kUnspecified);
  EXPECT_EQ(error_number_of([&] { connection->begin_trans(); }), -2147467259);
  EXPECT_FALSE(connection->in_transaction());
}

TEST_F(ConnectionTest, ACommitThatFailsLeavesTheTransactionOpen) {
  const auto connection = opened();
  connection->begin_trans();
  engine.failures["commit"] = [] { throw lock_timeout(); };
  EXPECT_EQ(error_number_of([&] { connection->commit_trans(); }), -2147467259);
  EXPECT_TRUE(connection->in_transaction());
  connection->rollback_trans();
  EXPECT_FALSE(connection->in_transaction());
}

TEST_F(ConnectionTest, ACloseInsideATransactionIsRefusedAndChangesNothing) {
  const auto connection = opened();
  connection->begin_trans();
  EXPECT_EQ(error_number_of([&] { connection->close(); }), 3246);
  EXPECT_EQ(connection->state(), ObjectState::kOpen);
  EXPECT_TRUE(connection->in_transaction());
  connection->rollback_trans();
  connection->close();
  EXPECT_EQ(connection->state(), ObjectState::kClosed);
}

TEST_F(ConnectionTest, AnEndWithoutCloseRollsBack) {
  {
    const auto connection = opened();
    connection->begin_trans();
  }
  EXPECT_THAT(engine.calls, ElementsAre("begin", "rollback", "end-session"));
  EXPECT_THAT(trace.lines, ElementsAre("Begin", "Rollback", "Disconnect"));
}

TEST_F(ConnectionTest, AnEndWhoseRollbackFailsStillEndsTheSession) {
  {
    const auto connection = opened();
    connection->begin_trans();
    engine.lose_connection_at("rollback");
  }
  EXPECT_EQ(engine.live_sessions, 0);
}

TEST_F(ConnectionTest, CloseEndsOpenRecordsetsBeforeTheSession) {
  const auto connection = opened();
  engine.rows = {{Text(u"a"), Text(u"A"), Null{}}};
  Recordset first;
  Recordset second;
  for (Recordset* recordset : {&first, &second}) {
    recordset->set_active_connection(connection);
    recordset->set_lock_type(LockType::kOptimistic);
    recordset->open(u"Select");
  }
  first.field(u"Title").set_value(Text(u"lost"));
  connection->close();
  EXPECT_EQ(first.state(), ObjectState::kClosed);
  EXPECT_EQ(first.edit_mode(), EditMode::kNone);
  EXPECT_EQ(second.state(), ObjectState::kClosed);
  EXPECT_EQ(error_number_of([&] { second.close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { second.open(u"Select"); }), 3709);
  EXPECT_EQ(engine.calls.back(), "end-session");
}

TEST_F(ConnectionTest, HeldRowsComeFromTheEngine) {
  const auto connection = opened();
  const auto rows = connection->held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].table, u"Things");
  EXPECT_EQ(rows[0].process_id, 7);
}

TEST_F(ConnectionTest, EveryStepIsTracedBeforeItIsCarriedOut) {
  {
    Connection connection({&engine}, &trace);
    connection.open(u"Provider=Fake;Password=secret;Data Source=here");
    connection.set_default_database(u"Things");
    connection.execute(u"EXEC sp_setapprole 'role','secret'");
    connection.execute(u"SET LOCK_TIMEOUT 5000");
    connection.begin_trans();
    engine.fail("commit", AdoErrorNumber::kUnspecified);
    EXPECT_EQ(error_number_of([&] { connection.commit_trans(); }), -2147467259);
    connection.rollback_trans();
    connection.close();
  }
  EXPECT_THAT(
      trace.lines,
      ElementsAre("Connect Provider=Fake;Password=***;Data Source=here", "DefaultDatabase Things",
                  "Execute EXEC sp_setapprole 'role','***'", "Execute SET LOCK_TIMEOUT 5000",
                  "Begin", "Commit", "Failed -2147467259 0: failed", "Rollback", "Disconnect"));
  EXPECT_THAT(engine.calls, ElementsAre("connect", "default-database Things",
                                        "execute EXEC sp_setapprole 'role','secret'",
                                        "execute SET LOCK_TIMEOUT 5000", "begin", "commit",
                                        "rollback", "end-session"));
}

TEST_F(ConnectionTest, ARollbackThatFailsEndsTheTransactionAndIsTriedAgainBeforeTheNextStep) {
  const auto connection = opened();
  connection->begin_trans();
  engine.fail("rollback", AdoErrorNumber::kUnspecified);
  EXPECT_EQ(error_number_of([&] { connection->rollback_trans(); }), -2147467259);
  EXPECT_FALSE(connection->in_transaction());
  engine.calls.clear();
  EXPECT_EQ(error_number_of([&] { connection->begin_trans(); }), -2147467259);
  EXPECT_THAT(engine.calls, ElementsAre("rollback")) << "nothing runs inside the leftover";
  engine.failures.clear();
  engine.calls.clear();
  connection->begin_trans();
  EXPECT_THAT(engine.calls, ElementsAre("rollback", "begin"));
  connection->commit_trans();
}

TEST_F(ConnectionTest, ARollbackThatFailsDoesNotKeepTheConnectionFromClosing) {
  const auto connection = opened();
  connection->begin_trans();
  engine.fail("rollback", AdoErrorNumber::kUnspecified);
  EXPECT_EQ(error_number_of([&] { connection->rollback_trans(); }), -2147467259);
  connection->close();
  EXPECT_EQ(connection->state(), ObjectState::kClosed);
  EXPECT_EQ(engine.live_sessions, 0);
}

// --- A lost connection -------------------------------------------------------------------------

class LostConnectionTest : public ConnectionTest,
                           public testing::WithParamInterface<const char*> {};

TEST_P(LostConnectionTest, ClosesAllThatHungOnItWhereverItStrikes) {
  const auto connection = opened();
  engine.rows = {{Text(u"a"), Text(u"A"), Null{}}, {Text(u"b"), Text(u"B"), Null{}}};
  connection->begin_trans();
  Recordset bystander;
  bystander.set_active_connection(connection);
  bystander.open(u"Select");
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.set_lock_type(LockType::kPessimistic);

  const std::string step = GetParam();
  if (step == "open" || step == "fetch") engine.lose_connection_at(step);
  const auto run = [&] {
    recordset.open(u"Select");
    engine.lose_connection_at(step);
    recordset.field(u"Title").set_value(Text(u"new"));
    recordset.update();
    recordset.add_new();
    recordset.update();
    connection->execute(u"S");
    connection->set_default_database(u"D");
    (void)connection->held_rows();
    if (step == "rollback") connection->rollback_trans();
    connection->commit_trans();
    connection->begin_trans();
  };
  EXPECT_EQ(error_description_of(run), u"gone");

  EXPECT_EQ(connection->state(), ObjectState::kClosed);
  EXPECT_FALSE(connection->in_transaction());
  EXPECT_EQ(connection->default_database(), u"");
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  EXPECT_EQ(recordset.edit_mode(), EditMode::kNone);
  EXPECT_EQ(bystander.state(), ObjectState::kClosed);
  EXPECT_EQ(engine.live_sessions, 0);
  EXPECT_EQ(error_number_of([&] { connection->rollback_trans(); }), 3704);
  EXPECT_EQ(error_number_of([&] { connection->close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)recordset.eof(); }), 3704);
  EXPECT_EQ(error_number_of([&] { recordset.open(u"Select"); }), 3709);

  engine.failures.clear();
  connection->open();
  recordset.open(u"Select");
  EXPECT_EQ(recordset.field(u"Name").value(), Variant(Text(u"a")));
}

INSTANTIATE_TEST_SUITE_P(AtAnyStep, LostConnectionTest,
                         testing::Values("open", "fetch", "update", "insert", "execute",
                                         "default-database", "held-rows", "commit", "rollback",
                                         "begin"),
                         [](const auto& step) {
                           std::string name = step.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST_F(ConnectionTest, ALossWhileMovingClosesTheRecordset) {
  const auto connection = opened();
  engine.rows = {{Text(u"a"), Text(u"A"), Null{}}, {Text(u"b"), Text(u"B"), Null{}}};
  Recordset recordset;
  recordset.set_active_connection(connection);
  recordset.open(u"Select");
  Field field = recordset.field(u"Name");
  engine.lose_connection_at("fetch");
  EXPECT_EQ(error_description_of([&] { recordset.move_next(); }), u"gone");
  EXPECT_EQ(recordset.state(), ObjectState::kClosed);
  EXPECT_EQ(error_number_of([&] { (void)field.value(); }), 3704);
}

TEST_F(ConnectionTest, ALostConnectionClosesThoughATransactionWasOpen) {
  const auto connection = opened();
  connection->begin_trans();
  EXPECT_EQ(error_number_of([&] { connection->close(); }), 3246);
  engine.alive = false;
  connection->close();
  EXPECT_EQ(connection->state(), ObjectState::kClosed);
}

TEST_F(ConnectionTest, ALossIsTracedWithTheEnginesWords) {
  Connection connection({&engine}, &trace);
  connection.open(u"Provider=Fake");
  engine.lose_connection_at("execute");
  EXPECT_EQ(error_number_of([&] { connection.execute(u"Delete"); }), -2147467259);
  EXPECT_EQ(trace.lines.back(), "Failed -2147467259 0: gone");
}

}  // namespace
}  // namespace tarnwick::ado
