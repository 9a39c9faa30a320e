#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <optional>

#include "ado/error.h"
#include "tests/engines/odbc/free_tds_fixture.h"

// What the real FreeTDS makes of a server that goes away, and of one that does not answer.

namespace tarnwick::odbc_test {
namespace {

using ado::AdoErrorNumber;
using ado::FailureKind;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Long enough for a busy machine to answer what is meant to be answered.
constexpr std::uint32_t kSeconds = 2;

constexpr const char* kLost = "The connection to the database server is lost.";

/// The loss that `step` ends with; a failed test when it ends with anything else.
template <class Step>
ado::ConnectionLost loss_of(Step&& step) {
  try {
    step();
    ADD_FAILURE() << "no error where one has to be";
  } catch (const ado::ConnectionLost& error) {
    return error;
  } catch (const ado::AdoError& error) {
    ADD_FAILURE() << "no loss but: " << to_utf8(error.description());
  }
  return ado::ConnectionLost(AdoErrorNumber::kUnspecified, u"no loss");
}

bool is_one_of(TextView value, std::initializer_list<TextView> values) {
  return std::ranges::find(values, value) != values.end();
}

struct StepCase {
  TextView request;  // at which the fault strikes
  void (*step)(ado::EngineSession&, FetchedRows&);
};

void write_title(FetchedRows& held) { held.update({{u"Title", Text(u"New")}}); }

constexpr StepCase kStepsInATransaction[] = {
    {u"SET [Title]", [](auto&, auto& held) { write_title(held); }},
    {u"SET [Report_Binary]",
     [](auto&, auto& held) {
       held.update({{u"Report_Binary", Bytes(5'000'000, std::byte{7})}});
     }},
    {u"INSERT INTO",
     [](auto&, auto& held) {
       held.insert({{u"ReportName", Text(u"Stock")}});
     }},
    {u"Delete", [](auto& session, auto&) { session.execute(u"Delete From DW_Reports"); }},
    {u"Select",
     [](auto& session, auto&) {
       const FetchedRows read(session.open({.statement = kSales,
                                            .location = ado::CursorLocation::kClient,
                                            .type = ado::CursorType::kStatic,
                                            .lock = ado::LockType::kOptimistic}),
                              odbc::kAllRows);
     }},
    {u"UPDLOCK",
     [](auto& session, auto&) {
       (void)session.open({.statement = u"Select * From DW_Reports Where ReportName = 'Stock'",
                           .location = ado::CursorLocation::kServer,
                           .type = ado::CursorType::kDynamic,
                           .lock = ado::LockType::kPessimistic});
     }},
    {u"1 = 0", [](auto& session, auto&) { (void)session.columns_of(u"DW_Reports"); }},
    {u"NOLOCK", [](auto& session, auto&) { (void)session.held_rows(); }},
    {u"transaction commit", [](auto& session, auto&) { session.commit(); }},
    {u"transaction rollback", [](auto& session, auto&) { session.rollback(); }},
};

class FreeTdsLossTest : public FreeTdsTest {
 protected:
  /// A session that maintains the report Sales and has written its author.
  struct Maintenance {
    std::unique_ptr<ado::EngineSession> session;
    std::optional<FetchedRows> held;

    void end() {
      held.reset();
      session.reset();
    }
  };
  Maintenance maintain() { return maintain_with(engine_); }
  Maintenance maintain_with(odbc::OdbcEngine& engine) {
    Maintenance made{open_session_with(engine), {}};
    made.session->begin();
    made.held.emplace(hold(*made.session));
    made.held->update({{u"Author", Text(u"Ann")}});
    return made;
  }

  /// Whatever is asked of a lost connection: it says so, and the server hears nothing of it.
  void expect_that_nothing_is_sent(Maintenance& lost) {
    (void)server_.take_log();
    EXPECT_FALSE(lost.session->alive());
    (void)loss_of([&] { write_title(*lost.held); });
    (void)loss_of([&] { lost.session->execute(u"SET LOCK_TIMEOUT 100"); });
    (void)loss_of([&] { lost.session->commit(); });
    (void)loss_of([&] { lost.session->rollback(); });
    (void)loss_of([&] { (void)lost.session->held_rows(); });
    lost.end();
    EXPECT_THAT(server_.take_log(), IsEmpty());
  }

  /// Another session gets the row, as it was before anybody maintained it.
  void expect_that_sales_is_free_and_old() {
    const auto other = open_session();
    // The server may still be about to notice that the lost one has gone.
    other->execute(u"SET LOCK_TIMEOUT -1");
    other->begin();
    const auto row = hold(*other);
    ASSERT_EQ(row.size(), 1u);
    EXPECT_EQ(row.value(u"Title"), Variant(Text(u"Old")));
    EXPECT_TRUE(is_null(row.value(u"Author")));
    other->rollback();
  }
};

// --- Cut -----------------------------------------------------------------------------------------

TEST_F(FreeTdsLossTest, AConnectionThatIsCutInATransactionIsLostHoweverAndWhereverItIsCut) {
  (void)session_with_sales();
  for (const TextView how : {u"DROP", u"RESET", u"HALF", u"CUT"}) {
    for (const StepCase& lost : kStepsInATransaction) {
      // A cut in the answer to the commit comes behind the commit.
      if (how == u"CUT" && lost.request == u"transaction commit") continue;
      const Text fault = join({how, u" '", lost.request, u"'"});
      SCOPED_TRACE(to_utf8(fault));
      Maintenance maintenance = maintain();
      server_.order(fault);
      const auto error = loss_of([&] { lost.step(*maintenance.session, *maintenance.held); });
      EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
      EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
      EXPECT_EQ(error.kind(), FailureKind::kConnectionLost);
      expect_that_nothing_is_sent(maintenance);
      expect_that_sales_is_free_and_old();
    }
  }
}

TEST_F(FreeTdsLossTest, AConnectionThatIsCutBehindTheCommitIsLostAndTheRowWritten) {
  (void)session_with_sales();
  Maintenance maintenance = maintain();
  server_.order(u"DONE 'transaction commit'");
  const auto error = loss_of([&] { maintenance.session->commit(); });
  EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
  EXPECT_EQ(read(*open_session(), kSales).value(u"Author"), Variant(Text(u"Ann")));
}

TEST_F(FreeTdsLossTest, AConnectionThatIsCutOutsideATransactionIsLostWhereverItIsCut) {
  const StepCase cases[] = {
      {u"transaction begin", [](auto& session, auto&) { session.begin(); }},
      {u"USE", [](auto& session, auto&) { session.set_default_database(u"Velmar_Sec"); }},
      {u"Delete", [](auto& session, auto&) { session.execute(u"Delete From DW_SEC_PC"); }},
      {u"SET [Title]", [](auto&, auto& rows) { write_title(rows); }},
  };
  (void)session_with_sales();
  for (const TextView how : {u"DROP", u"RESET", u"HALF", u"DONE"}) {
    for (const StepCase& lost : cases) {
      const Text fault = join({how, u" '", lost.request, u"'"});
      SCOPED_TRACE(to_utf8(fault));
      const auto session = open_session();
      auto rows = read(*session, kSales);
      server_.order(fault);
      const auto error = loss_of([&] { lost.step(*session, rows); });
      EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
      EXPECT_FALSE(session->alive());
    }
  }
}

TEST_F(FreeTdsLossTest, AConnectionThatIsCutAmongTheRowsIsLostAndNoShortResult) {
  const auto session = open_session();
  auto rows = read(*session, u"Select * From DW_SEC_PC");
  session->begin();
  for (std::int16_t i = 1; i <= 400; ++i) {
    rows.insert({{u"MACNbr", Text(50, u'm')},
                 {u"ComputerID", Text(u"P")},
                 {u"CompID", i},
                 {u"MaintType", std::int32_t{5}},
                 {u"ActiveStatus", true},
                 {u"ImageIndex", i}});
  }
  session->commit();
  server_.order(u"CUT 'From DW_SEC_PC'");
  EXPECT_THROW((void)read(*session, u"Select * From DW_SEC_PC"), ado::ConnectionLost);
}

TEST_F(FreeTdsLossTest, AServerThatIsSwitchedOffIsNoticedByTheNextStepWhateverItIs) {
  for (const StepCase& lost : kStepsInATransaction) {
    SCOPED_TRACE(to_utf8(lost.request));
    StandIn server;
    server.make_database();
    const auto session = engine_.connect(ado::ConnectionString::parse(server.connection_string()));
    session->set_default_database(u"Velmar_Sec");
    session->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
    session->begin();
    auto held = hold(*session);
    write_title(held);
    server.end();
    const auto error = loss_of([&] { lost.step(*session, held); });
    EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
    EXPECT_FALSE(session->alive());
  }
}

TEST_F(FreeTdsLossTest, ASessionFindsOutByItselfThatItsServerIsGone) {
  (void)session_with_sales();
  Maintenance maintenance = maintain();
  EXPECT_TRUE(maintenance.session->alive());
  server_.end();
  EXPECT_FALSE(maintenance.session->alive());
  EXPECT_FALSE(maintenance.session->alive());
}

TEST_F(FreeTdsLossTest, AskingWhetherItIsAliveChangesNothing) {
  (void)session_with_sales();
  Maintenance maintenance = maintain();
  EXPECT_TRUE(maintenance.session->alive());
  write_title(*maintenance.held);
  maintenance.session->commit();
  EXPECT_EQ(read(*open_session(), kSales).value(u"Author"), Variant(Text(u"Ann")));
}

// --- Not answered --------------------------------------------------------------------------------

TEST_F(FreeTdsLossTest, ALoginThatIsNotAnsweredEndsAfterItsTime) {
  // The server says something before it falls silent.
  server_.order(u"SILENT 'login'");
  auto error = error_of([&] { (void)connect(u";Connect Timeout=1"); });
  EXPECT_EQ(error.number(), -2147217871);
  EXPECT_EQ(error.kind(), FailureKind::kTimeout);
  EXPECT_EQ(error.description(), u"Timeout expired");
  // It says nothing at all.
  server_.freeze();
  error = error_of([&] { (void)connect(u";Connect Timeout=1"); });
  EXPECT_EQ(error.number(), -2147217871);
  EXPECT_EQ(error.sqlstate(), "HYT00");
}

TEST_F(FreeTdsLossTest, AStatementThatTakesTooLongIsCancelledAndTheTransactionGoesOn) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  for (const StepCase& slow : kStepsInATransaction) {
    if (!is_one_of(slow.request, {u"SET [Report_Binary]", u"Delete", u"Select"})) {
      continue;
    }
    SCOPED_TRACE(to_utf8(slow.request));
    Maintenance maintenance = maintain_with(engine);
    server_.order(join({u"SLOW '", slow.request, u"'"}));
    const auto error = error_of([&] { slow.step(*maintenance.session, *maintenance.held); });
    EXPECT_EQ(error.number(), -2147217871);
    EXPECT_EQ(error.kind(), FailureKind::kTimeout);
    EXPECT_EQ(error.native(), 0);
    EXPECT_EQ(error.description(), u"Timeout expired");
    EXPECT_TRUE(maintenance.session->alive());
    maintenance.held->update({{u"Title", Text(u"After")}});
    maintenance.session->commit();
    EXPECT_EQ(read(*open_session(), kSales).value(u"Title"), Variant(Text(u"After")));
    open_session()->execute(u"Update DW_Reports Set Title = 'Old', Author = Null");
  }
}

TEST_F(FreeTdsLossTest, AStatementOfASilentServerEndsWithTheConnection) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  for (const StepCase& silent : kStepsInATransaction) {
    // Each one has to wait its time, and once more for the answer to its cancellation.
    if (!is_one_of(silent.request, {u"SET [Title]", u"Select", u"transaction commit"})) {
      continue;
    }
    SCOPED_TRACE(to_utf8(silent.request));
    Maintenance maintenance = maintain_with(engine);
    server_.order(join({u"SILENT '", silent.request, u"'"}));
    const auto error = loss_of([&] { silent.step(*maintenance.session, *maintenance.held); });
    EXPECT_EQ(error.number(), -2147217871);
    EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
    EXPECT_THAT(to_utf8(error.description()), HasSubstr("Timeout expired"));
    expect_that_nothing_is_sent(maintenance);
    expect_that_sales_is_free_and_old();
  }
}

TEST_F(FreeTdsLossTest, WhatIsNoStatementEndsAfterTheGeneralTimeoutOfTheConnectionString) {
  const StepCase cases[] = {
      {u"transaction begin", [](auto& session, auto&) { session.begin(); }},
      {u"transaction commit",
       [](auto& session, auto& rows) {
         session.begin();
         write_title(rows);
         session.commit();
       }},
  };
  (void)session_with_sales();
  for (const StepCase& silent : cases) {
    SCOPED_TRACE(to_utf8(silent.request));
    const auto session = connect(u";Initial Catalog=Velmar_Sec;General Timeout=2");
    auto rows = read(*session, kSales);
    server_.order(join({u"SILENT '", silent.request, u"'"}));
    EXPECT_EQ(loss_of([&] { silent.step(*session, rows); }).number(), -2147217871);
  }
}

TEST_F(FreeTdsLossTest, RowsThatStopOnTheirWayEndWithTheConnection) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  const auto session = open_session_with(engine);
  server_.order(u"STALL 'From DW_Reports'");
  EXPECT_EQ(loss_of([&] { (void)read(*session, kSales); }).number(), -2147217871);
}

TEST_F(FreeTdsLossTest, AWriteThatAFrozenServerDoesNotTakeInEndsWithTheConnection) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  Maintenance maintenance = maintain_with(engine);
  server_.freeze();
  const auto error = loss_of([&] {
    maintenance.held->update({{u"Report_Binary", Bytes(50'000'000, std::byte{7})}});
  });
  EXPECT_THAT(to_utf8(error.description()), StartsWith(kLost));
  EXPECT_FALSE(maintenance.session->alive());
}

TEST_F(FreeTdsLossTest, ASessionFindsOutThatItsServerDoesNotAnswerAnyMore) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  Maintenance maintenance = maintain_with(engine);
  server_.freeze();
  EXPECT_FALSE(maintenance.session->alive());
}

TEST_F(FreeTdsLossTest, AWaitForALockIsNoTimeoutAndNeitherIsTheOther) {
  odbc::OdbcEngine engine(kSeconds);
  (void)session_with_sales();
  Maintenance first = maintain();
  const auto second = open_session_with(engine);
  auto error = error_of([&] { (void)read(*second, kSales); });
  EXPECT_EQ(error.kind(), FailureKind::kLockTimeout);
  EXPECT_EQ(error.native(), ado::kNativeLockTimeout);
  // A server that says so too late to be heard has not said so.
  server_.order(u"SLOW 'From DW_Reports'");
  error = error_of([&] { (void)read(*second, kSales); });
  EXPECT_EQ(error.kind(), FailureKind::kTimeout);
}

}  // namespace
}  // namespace tarnwick::odbc_test
