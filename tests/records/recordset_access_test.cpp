#include "records/recordset_access.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using ::testing::ElementsAre;

class GetRecordset : public test_support::ConnectedTest {};

TEST_F(GetRecordset, OpensAClientCursorAndLowersTheLockTimeout) {
  const auto rows = get_recordset(state(), u"Select 1 As One", ado::LockType::kOptimistic);
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ(rows->state(), ado::ObjectState::kOpen);
  EXPECT_EQ(rows->cursor_location(), ado::CursorLocation::kClient);
  EXPECT_EQ(rows->lock_type(), ado::LockType::kOptimistic);
  EXPECT_EQ(rows->record_count(), 1);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Open client static optimistic: Select 1 As One",
                                            u"Execute SET LOCK_TIMEOUT 2000"));
  EXPECT_EQ(message(), u"");
}

TEST_F(GetRecordset, TakesTheLockTypeOfItsCaller) {
  const auto rows = get_recordset(state(), u"Select 1 As One", ado::LockType::kReadOnly);
  ASSERT_NE(rows, nullptr);
  EXPECT_EQ(rows->lock_type(), ado::LockType::kReadOnly);
}

TEST_F(GetRecordset, WritesNoStepTextAndLeavesOlderMessages) {
  state().errors.set_message(u"older");
  ASSERT_NE(get_recordset(state(), u"Select 1 As One", ado::LockType::kOptimistic), nullptr);
  EXPECT_EQ(message(), u"older");
}

TEST_F(GetRecordset, RecordsAStatementThatCannotBeOpenedAndLeavesTheLockTimeout) {
  const auto rows =
      get_recordset(state(), u"Select * From No_Such_Table", ado::LockType::kOptimistic);
  EXPECT_EQ(rows, nullptr);
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."
                            u"\r\nError #:    \t-2147217900\r\nDescription:\t"));
  EXPECT_NE(message().find(u"No_Such_Table"), Text::npos);
  EXPECT_EQ(number(), -2147217900);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From No_Such_Table"));
}

TEST_F(GetRecordset, RecordsThatThereIsNoConnection) {
  state().connection.reset();
  EXPECT_EQ(get_recordset(state(), u"Select 1", ado::LockType::kOptimistic), nullptr);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", 3709,
                               u"The connection cannot be used to perform this operation. It is "
                               u"either closed or invalid in this context."));
}

TEST_F(GetRecordset, RecordsThatTheConnectionIsClosed) {
  state().connection->close();
  EXPECT_EQ(get_recordset(state(), u"Select 1", ado::LockType::kOptimistic), nullptr);
  EXPECT_EQ(number(), 3709);
}

TEST_F(GetRecordset, AsksNobodyAboutALockedRow) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (7, 0, 2)");
  test_support::ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->refresh());
  ASSERT_TRUE(other.server->components()->item(std::int32_t{1})->lock_record());

  EXPECT_EQ(get_recordset(state(), u"Select * From DW_SEC_COMP", ado::LockType::kOptimistic),
            nullptr);
  EXPECT_EQ(message(), account(u"General", u"GetRecordset", -2147467259,
                               u"Lock request time out period exceeded."));
  EXPECT_TRUE(process_.host.box.questions.empty());
}

TEST(ExecuteDelete, ThatFailsIsTheCauseOfTheCallWithOrWithoutATransaction) {
  test_support::EmbeddedDatabase database;
  test_support::ServerProcess process(database);
  ASSERT_TRUE(process.connect());
  for (const bool in_transaction : {false, true}) {
    if (in_transaction) process.state.connection->begin_trans();
    EXPECT_THROW(execute_delete(process.state, u"Delete From Nothing", ado::kExecuteNoRecords),
                 Error);
    EXPECT_EQ(process.state.failures.last().number, in_transaction ? 0 : -2147217900);
    process.state.failures.clear();
  }
}

}  // namespace
}  // namespace tarnwick
