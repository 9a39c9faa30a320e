#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/recordset_access.h"
#include "records/row_fetch.h"
#include "server/server.h"
#include "tests/ado/fake_engine.h"
#include "tests/support/component_setters.h"
#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;
using ::testing::Contains;
using ::testing::IsEmpty;

constexpr std::int32_t kUnspecified = -2147467259;

/// A server on an engine that fails to order, with component 7 in its one table.
class FailingDatabase : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const TextView column : {u"CompID", u"CompName", u"ParentID", u"Priority", u"ImageIndex",
                                  u"ForceDisplay", u"MaintType", u"SecGrpID", u"RptCode", u"Server",
                                  u"MetaID", u"AuthorizedRole", u"SoftLock", u"RowVersion"}) {
      columns_.push_back({Text(column)});
    }
    engine_.columns = columns_;
    engine_.rows = {{std::int32_t{7}, Text(u"Desk"), std::int32_t{0}, std::int32_t{0},
                     std::int32_t{1}, std::int32_t{0}, std::int32_t{2}, Text(), Text(), Text(),
                     Text(), Text(), Null{}, Text(u"v")}};
    test_support::ComponentSetters{component_}.comp_id(7);
  }

  bool connect() { return server_.set_connection(u"Provider=Fake", u"role", u"password"); }
  const Text& message() const { return state_.errors.message(); }

  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  std::vector<ado::Column> columns_;
  ado::FakeEngine engine_;
  SharedState state_{host_, {&engine_}};
  Server server_{state_};
  Component component_{state_};
};

TEST_F(FailingDatabase, IsNotTakenForALockedRowWhenLostAtTheOpen) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("open");
  EXPECT_EQ(update_read(state_, u"7", TableSelector::kComponents).outcome, FetchOutcome::kFailed);
  EXPECT_THAT(host_.box.questions, IsEmpty());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", kUnspecified, u"gone"));
  EXPECT_FALSE(state_.connected());
}

TEST_F(FailingDatabase, IsNotTakenForALockedRowWhenLostAtThePlainRead) {
  ASSERT_TRUE(connect());
  engine_.rows.clear();
  engine_.failures["open"] = [opens = 0]() mutable {
    if (++opens == 2) throw ado::ConnectionLost(ado::AdoErrorNumber::kUnspecified, u"gone");
  };
  EXPECT_EQ(update_read(state_, u"7", TableSelector::kComponents).outcome, FetchOutcome::kFailed);
  EXPECT_THAT(host_.box.questions, IsEmpty());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", kUnspecified, u"gone"));
}

TEST_F(FailingDatabase, FailsTheFetchWhenLostAtTheStamp) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("update");
  EXPECT_FALSE(component_.lock_record());
  EXPECT_FALSE(component_.locked());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", kUnspecified, u"gone"));
  EXPECT_THAT(host_.box.questions, IsEmpty());
}

TEST_F(FailingDatabase, RollsBackAFetchWhoseStampFails) {
  ASSERT_TRUE(connect());
  engine_.fail("update", ado::AdoErrorNumber::kIntegrityViolation);
  EXPECT_FALSE(component_.lock_record());
  EXPECT_THAT(engine_.calls, Contains("rollback"));
  EXPECT_FALSE(state_.connection->in_transaction());
}

TEST_F(FailingDatabase, RecordsATransactionThatCannotBegin) {
  ASSERT_TRUE(connect());
  engine_.fail("begin", ado::AdoErrorNumber::kUnspecified);
  EXPECT_FALSE(component_.lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", kUnspecified, u"failed"));
  EXPECT_THAT(engine_.calls, testing::Not(Contains("rollback")));
}

TEST_F(FailingDatabase, RecordsARollbackThatFailsInAFetch) {
  ASSERT_TRUE(connect());
  engine_.rows.clear();
  engine_.fail("rollback", ado::AdoErrorNumber::kUnspecified);
  EXPECT_FALSE(component_.lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", kUnspecified, u"failed"));
}

TEST_F(FailingDatabase, UnlocksAComponentWhenLostAtItsWrite) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(component_.lock_record());
  engine_.lose_connection_at("update");
  EXPECT_EQ(component_.update(), Error_ue);
  const Text pending = join({account(u"General", u"UpdateWrite", kUnspecified, u"gone"),
                             u"\r\nUnable to update the Component '7' in the DW_Sec_Comp table!"});
  EXPECT_EQ(message(), raised(pending, u"Component", u"Update"));
  EXPECT_FALSE(component_.locked());
  EXPECT_TRUE(component_.changed());
  EXPECT_FALSE(state_.connected());
  EXPECT_TRUE(component_.release_record());
}

TEST_F(FailingDatabase, UnlocksAComponentWhenLostAtItsCommit) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(component_.lock_record());
  engine_.lose_connection_at("commit");
  EXPECT_EQ(component_.update(), Error_ue);
  EXPECT_EQ(message(), raised(u"Unable to update, record is locked!\r\n"
                              u"Unable to update the Component '7' in the DW_Sec_Comp table!",
                              u"Component", u"Update"));
  EXPECT_FALSE(component_.locked());
}

TEST_F(FailingDatabase, UnlocksAComponentWhenLostAtItsRelease) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(component_.lock_record());
  engine_.lose_connection_at("rollback");
  EXPECT_TRUE(component_.release_record()) << "errors of a release are ignored";
  EXPECT_FALSE(component_.locked());
  EXPECT_EQ(message(), u"");
}

TEST_F(FailingDatabase, LetsAComponentVanishWhoseRowCannotBeGivenBack) {
  ASSERT_TRUE(connect());
  engine_.fail("rollback", ado::AdoErrorNumber::kUnspecified);
  {
    Component vanishing(state_);
    test_support::ComponentSetters{vanishing}.comp_id(7);
    ASSERT_TRUE(vanishing.lock_record());
  }
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(state_.errors.number(), 0);
}

TEST_F(FailingDatabase, LeavesNobodyAsOwnerWhenARowCannotBeGivenBack) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(component_.lock_record());
  engine_.fail("rollback", ado::AdoErrorNumber::kUnspecified);
  EXPECT_TRUE(component_.release_record()) << "errors of a release are ignored";
  EXPECT_EQ(state_.failures.last().kind, ado::FailureKind::kOther);
  engine_.failures.clear();
  EXPECT_TRUE(component_.lock_record()) << "and the next one works";
  EXPECT_TRUE(component_.release_record());

  ASSERT_TRUE(component_.lock_record());
  engine_.fail("rollback", ado::AdoErrorNumber::kUnspecified);
  EXPECT_TRUE(component_.release_record());
  EXPECT_TRUE(connect()) << "as does a new connection";
}

TEST_F(FailingDatabase, KnowsNoOutcomeWhenLostAtACommit) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("commit");
  EXPECT_EQ(component_.update(), Error_ue);
  EXPECT_EQ(state_.failures.last().kind, ado::FailureKind::kConnectionLost);
  EXPECT_EQ(state_.failures.last().text, u"gone");
  EXPECT_TRUE(state_.failures.last().outcome_unknown);
}

TEST_F(FailingDatabase, KnowsTheOutcomeWhenLostBeforeTheCommit) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("update");
  EXPECT_EQ(component_.update(), Error_ue);
  EXPECT_EQ(state_.failures.last().kind, ado::FailureKind::kConnectionLost);
  EXPECT_FALSE(state_.failures.last().outcome_unknown);
}

TEST_F(FailingDatabase, KnowsNoOutcomeWhenLostAtADelete) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("execute");
  EXPECT_FALSE(component_.remove());
  EXPECT_EQ(state_.failures.last().kind, ado::FailureKind::kConnectionLost);
  EXPECT_TRUE(state_.failures.last().outcome_unknown);
}

TEST_F(FailingDatabase, CanBeConnectedToAgain) {
  ASSERT_TRUE(connect());
  ASSERT_TRUE(component_.lock_record());
  engine_.lose_connection_at("update");
  ASSERT_EQ(component_.update(), Error_ue);
  engine_.failures.clear();
  EXPECT_TRUE(connect());
  EXPECT_TRUE(component_.lock_record());
}

TEST_F(FailingDatabase, FailsALoadWhenLost) {
  ASSERT_TRUE(connect());
  engine_.lose_connection_at("fetch");
  EXPECT_EQ(get_recordset(state_, u"Select 1", ado::LockType::kOptimistic), nullptr);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", kUnspecified, u"gone"));
}

TEST_F(FailingDatabase, FailsALoadWhoseLockTimeoutCannotBeSet) {
  ASSERT_TRUE(connect());
  engine_.fail("execute", ado::AdoErrorNumber::kUnspecified);
  EXPECT_EQ(get_recordset(state_, u"Select 1", ado::LockType::kOptimistic), nullptr);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", kUnspecified, u"failed"));
}

TEST_F(FailingDatabase, StaysTheSharedConnectionInTheStateOfTheStepThatFailed) {
  const auto failed_at = [&](const std::string& call) {
    engine_.failures.clear();
    engine_.fail(call, ado::AdoErrorNumber::kUnspecified);
    state_.errors.set_message({});
    EXPECT_FALSE(connect()) << call;
    EXPECT_EQ(message(), account(u"Server", u"SetConnection", kUnspecified, u"failed")) << call;
    EXPECT_NE(state_.connection, nullptr) << call;
    return state_.connected();
  };
  EXPECT_FALSE(failed_at("connect"));
  EXPECT_TRUE(failed_at("default-database"));
  EXPECT_TRUE(failed_at("execute"));
  EXPECT_EQ(state_.connection->cursor_location(), ado::CursorLocation::kServer)
      << "set by the last step only";
}

}  // namespace
}  // namespace tarnwick
