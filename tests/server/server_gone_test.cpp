#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/stand_in/stand_in.h"
#include "tests/support/object_model.h"

// The object model on a SQL Server that goes away, fails or does not answer, through the real
// FreeTDS.

namespace tarnwick {
namespace {

using ado::FailureKind;
using test_support::StandIn;
using ::testing::HasSubstr;
using ::testing::StartsWith;

class ServerGone : public testing::Test {
 protected:
  // Seconds; long enough for a busy machine to answer what is meant to be answered.
  static constexpr std::uint32_t kStatementTimeout = 2;

  void SetUp() override {
    make_sales(server_);
    ASSERT_TRUE(connect_to(server_)) << to_display_utf8(message());
    ASSERT_TRUE(model_.refresh()) << to_display_utf8(message());
    sales_ = model_.reports()->item(Text(u"Sales"));
    ASSERT_TRUE(sales_);
  }

  static void make_sales(StandIn& server) {
    server.make_database();
    odbc::OdbcEngine engine;
    const auto session = engine.connect(ado::ConnectionString::parse(server.connection_string()));
    session->set_default_database(u"Velmar_Sec");
    session->execute(
        u"Insert Into DW_Reports (ReportName, Title, Created, SQLStmnt, ReportType, MaintType) "
        u"Values ('Sales', 'Old', '2023-12-24T06:00:00', 'Select 1', 'CRY', 4)");
  }

  bool connect_to(const StandIn& server, TextView more_items = {}) {
    return model_.set_connection(join({server.connection_string(), more_items}), StandIn::kRole,
                                 StandIn::kRolePassword);
  }
  /// The title that the database has by now, read over a connection that is made anew.
  Text stored_title() {
    EXPECT_TRUE(connect_to(server_)) << to_display_utf8(message());
    EXPECT_TRUE(model_.refresh()) << to_display_utf8(message());
    return model_.reports()->item(Text(u"Sales"))->title();
  }
  [[nodiscard]] const Text& message() const { return state_.errors.message(); }
  [[nodiscard]] const FailureCause& cause() const { return state_.failures.last(); }

  void expect_that_all_is_lost() {
    EXPECT_FALSE(sales_->locked());
    EXPECT_FALSE(state_.connected());
    EXPECT_EQ(cause().kind, FailureKind::kConnectionLost);
    EXPECT_THAT(to_utf8(cause().text),
                StartsWith("The connection to the database server is lost."));
  }

  StandIn server_;
  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  test_support::RecordingTrace recorder_;
  odbc::OdbcEngine engine_{kStatementTimeout};
  SharedState state_{host_, {&engine_}, &recorder_};
  Server model_{state_};
  std::shared_ptr<Report> sales_;
};

TEST_F(ServerGone, WhileARecordIsMaintainedSetConnectionConnectsAnewAllTheSame) {
  ASSERT_TRUE(sales_->lock_record()) << to_display_utf8(message());
  server_.end();
  StandIn other;
  make_sales(other);
  EXPECT_TRUE(connect_to(other)) << to_display_utf8(message());
  EXPECT_FALSE(sales_->locked());
  ASSERT_TRUE(model_.refresh()) << to_display_utf8(message());
  const auto sales = model_.reports()->item(Text(u"Sales"));
  sales->set_title(u"New");
  EXPECT_EQ(sales->update(), OK_ue) << to_display_utf8(message());
}

TEST_F(ServerGone, AServerThatFrozeWhileARecordIsMaintainedIsGivenUpBySetConnection) {
  ASSERT_TRUE(sales_->lock_record()) << to_display_utf8(message());
  server_.freeze();
  StandIn other;
  make_sales(other);
  EXPECT_TRUE(connect_to(other)) << to_display_utf8(message());
}

TEST_F(ServerGone, OneThatIsThereKeepsSetConnectionOutWhileARecordIsMaintained) {
  ASSERT_TRUE(sales_->lock_record()) << to_display_utf8(message());
  EXPECT_FALSE(connect_to(server_));
  EXPECT_EQ(state_.errors.number(), 3246);
  EXPECT_TRUE(sales_->locked());
  sales_->set_title(u"New");
  EXPECT_EQ(sales_->update(), OK_ue) << to_display_utf8(message());
}

TEST_F(ServerGone, HoweverTheConnectionIsCutInAnUpdateNothingIsWrittenAndSetConnectionWorksAgain) {
  for (const TextView how : {u"DROP", u"RESET", u"HALF"}) {
    for (const TextView where : {u"transaction begin", u"UPDLOCK", u"SET [SoftLock]", u"[Title] =",
                                 u"transaction commit"}) {
      const Text fault = join({how, u" '", where, u"'"});
      SCOPED_TRACE(to_utf8(fault));
      sales_->set_title(u"New");
      server_.order(fault);
      EXPECT_NE(sales_->update(), OK_ue);
      expect_that_all_is_lost();
      EXPECT_EQ(cause().outcome_unknown, where == u"transaction commit");
      EXPECT_EQ(stored_title(), u"Old");
      sales_ = model_.reports()->item(Text(u"Sales"));
    }
  }
}

TEST_F(ServerGone, ACutBehindTheCommitIsToldAsAnOutcomeThatNobodyKnows) {
  sales_->set_title(u"New");
  server_.order(u"DONE 'transaction commit'");
  EXPECT_NE(sales_->update(), OK_ue);
  expect_that_all_is_lost();
  EXPECT_TRUE(cause().outcome_unknown);
  EXPECT_EQ(stored_title(), u"New");
}

TEST_F(ServerGone, ACommitThatIsNotAnsweredIsToldSoToo) {
  sales_->set_title(u"New");
  server_.order(u"SILENT 'transaction commit'");
  EXPECT_NE(sales_->update(), OK_ue);
  expect_that_all_is_lost();
  EXPECT_TRUE(cause().outcome_unknown);
  EXPECT_EQ(cause().number, -2147217871);
}

TEST_F(ServerGone, ACutInAReleaseLeavesNothingHeld) {
  ASSERT_TRUE(sales_->lock_record()) << to_display_utf8(message());
  server_.order(u"RESET 'transaction rollback'");
  EXPECT_FALSE(sales_->release_record());
  expect_that_all_is_lost();
  EXPECT_EQ(stored_title(), u"Old");
}

TEST_F(ServerGone, AStatementThatIsNotAnsweredInTimeEndsTheUpdateAsAnyErrorOfTheDriverDoes) {
  sales_->set_title(u"New");
  server_.order(u"SLOW '[Title] ='");
  EXPECT_EQ(sales_->update(), Error_ue);
  EXPECT_EQ(cause().kind, FailureKind::kTimeout);
  EXPECT_EQ(cause().number, -2147217871);
  EXPECT_TRUE(state_.connected());
  EXPECT_TRUE(host_.box.questions.empty());
  EXPECT_EQ(sales_->update(), OK_ue) << to_display_utf8(message());
  EXPECT_EQ(stored_title(), u"New");
}

TEST_F(ServerGone, AFullLogAtTheCommitIsToldByItsKindNumberAndTheServersText) {
  sales_->set_title(u"New");
  server_.order(u"FAIL 'transaction commit' 9002 'The transaction log is full.'");
  EXPECT_NE(sales_->update(), OK_ue);
  EXPECT_EQ(cause().kind, FailureKind::kDiskFull);
  EXPECT_EQ(cause().native, 9002);
  EXPECT_THAT(to_utf8(cause().text), HasSubstr("The transaction log is full."));
  EXPECT_FALSE(cause().outcome_unknown);
}

TEST_F(ServerGone, ALoginThatIsNotAnsweredEndsSetConnection) {
  StandIn silent;
  silent.freeze();
  EXPECT_FALSE(connect_to(silent, u";Connect Timeout=1"));
  EXPECT_EQ(state_.errors.number(), -2147217871);
  EXPECT_EQ(cause().kind, FailureKind::kTimeout);
  EXPECT_FALSE(state_.connected());
}

TEST_F(ServerGone, ATableThatIsMissingIsToldOnceAndByName) {
  server_.order(u"FAIL 'FROM [DW_SEC_PC]' 208 'Invalid object name'");
  EXPECT_FALSE(connect_to(server_));
  EXPECT_THAT(to_utf8(message()), HasSubstr("The table DW_SEC_PC is missing."));
  // Nobody may read it: whether it is there is not known, and loading it will tell.
  server_.order(u"FAIL 'FROM [DW_SEC_PC]' 229 'The SELECT permission was denied'");
  EXPECT_TRUE(connect_to(server_)) << to_display_utf8(message());
}

}  // namespace
}  // namespace tarnwick
