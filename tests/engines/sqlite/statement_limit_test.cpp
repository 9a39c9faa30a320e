#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

// What becomes of a statement that works too long. The limit of the engine under test is nothing at
// all: every statement is over at the first look at the clock, and short ones never see one.

namespace tarnwick::sqlite {
namespace {

constexpr TextView kEndless =
    u"With Recursive n(i) As (Select 1 Union All Select i + 1 From n) Select count(*) c From n";
constexpr TextView kEndlessUpdate =
    u"With Recursive n(i) As (Select 1 Union All Select i + 1 From n) "
    u"Update DW_Reports Set Title = (Select count(*) From n)";

class StatementLimit : public SessionTest {
 protected:
  static constexpr std::int32_t kTimeout = -2147217871;

  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    session_ = hasty_.connect(ado::ConnectionString::parse(database_.connection_string()));
    session_->set_default_database(u"Velmar_Sec");
    session_->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    session_->execute(u"SET LOCK_TIMEOUT 0");
  }
  template <class Step>
  void expect_timeout(Step&& step) {
    const auto error = error_of([&] {
      step();
      return 0;
    });
    EXPECT_EQ(error.number(), kTimeout);
    EXPECT_EQ(error.kind(), ado::FailureKind::kTimeout);
    EXPECT_EQ(error.description(), ado::description_of(ado::AdoErrorNumber::kTimeout));
    EXPECT_FALSE(error.description().empty());
  }
  Text title() { return std::get<Text>(read(*session_, kSales).value(u"Title")); }

  SqliteEngine hasty_{std::chrono::milliseconds(0)};
  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(StatementLimit, EndsAStatementThatReads) {
  expect_timeout([&] { (void)read(*session_, kEndless); });
  expect_timeout([&] { session_->execute(kEndless); });
  expect_timeout([&] { (void)hold(*session_, join({kSales, u" And Title = (", kEndless, u")"})); });
  EXPECT_EQ(title(), u"Old");
}

TEST_F(StatementLimit, EndsAStatementThatWritesAndChangesNothing) {
  expect_timeout([&] { session_->execute(kEndlessUpdate); });
  EXPECT_EQ(title(), u"Old");
  EXPECT_THAT(session_->held_rows(), ::testing::IsEmpty());
}

TEST_F(StatementLimit, LeavesATransactionToBeRolledBack) {
  session_->begin();
  hold(*session_, kSales).update({{u"SoftLock", Text(u"ME - now")}, {u"Title", Text(u"New")}});
  expect_timeout([&] { (void)read(*session_, kEndless); });
  expect_timeout([&] { session_->execute(kEndlessUpdate); });
  EXPECT_EQ(session_->held_rows().size(), 1u);
  EXPECT_EQ(title(), u"New");
  session_->rollback();
  EXPECT_EQ(title(), u"Old");
  EXPECT_THAT(session_->held_rows(), ::testing::IsEmpty());
}

TEST_F(StatementLimit, LeavesATransactionToBeCommitted) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  expect_timeout([&] { (void)read(*session_, kEndless); });
  session_->commit();
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports"), "New");
}

TEST_F(StatementLimit, IsNoLimitOfTheWaitForALock) {
  const auto other = open_session();
  other->begin();
  EXPECT_EQ(hold(*other, kSales).size(), 1u);
  session_->execute(u"SET LOCK_TIMEOUT 50");
  const auto error = error_of([&] { return read(*session_, kSales); });
  EXPECT_EQ(error.native(), 1222);
  EXPECT_EQ(error.kind(), ado::FailureKind::kLockTimeout);
}

TEST_F(StatementLimit, IsThatOfAdoWhereNobodySaysOtherwise) {
  EXPECT_EQ(SqliteEngine::kStatementLimit, std::chrono::seconds(30));
}

}  // namespace
}  // namespace tarnwick::sqlite
