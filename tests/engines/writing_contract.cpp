#include "runtime/conversions.h"
#include "tests/engines/contract_steps.h"
#include "tests/engines/engine_contract.h"

namespace tarnwick::engine_contract {

using ado::EngineSession;

// --- Writing -----------------------------------------------------------------------------------

TEST_P(EngineContract, AnUpdateWritesTheAssignedColumnsAndNoOthers) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  auto held = hold(*session, kSales);
  // What the rowset has fetched is stale now: only the assigned column may go back.
  session->execute(u"Update DW_Reports Set Author = 'Ann' Where ReportName = 'Sales'");
  held.update({{u"Title", text(u"New")}});
  session->commit();
  const auto row = read(*session, kSales);
  EXPECT_EQ(row.value(u"Title"), Variant(text(u"New")));
  EXPECT_EQ(row.value(u"Author"), Variant(text(u"Ann")));
  EXPECT_EQ(read(*session, kStock).value(u"Title"), Variant(text(u"Old")));
}

TEST_P(EngineContract, ARowIsUpdatedAgainAndAgainThroughOneRowset) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"SoftLock", text(u"HOST - now")}});
  held.update({{u"Title", text(u"New")}});
  held.update({{u"SoftLock", Text()}});
  session->commit();
  const auto row = read(*session, kSales);
  EXPECT_EQ(row.value(u"Title"), Variant(text(u"New")));
  EXPECT_EQ(row.value(u"SoftLock"), Variant(Text()));
}

TEST_P(EngineContract, AKeyCanBeWrittenAndTheRowThenUpdatedUnderIt) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  auto held = hold(*session, kSales);
  const Variant name = text(u"Turnover");
  const Variant title = text(u"New");
  std::vector<ado::Cell> row = held.cells();
  const ado::Assignment rename{held.column(u"ReportName"), &name};
  held.rowset().update(row, {{rename}});
  row[rename.column] = ado::Cell::of(name);
  const ado::Assignment retitle{held.column(u"Title"), &title};
  held.rowset().update(row, {{retitle}});
  session->commit();
  const auto all = read(*session, kAllReports);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all.value(u"ReportName"), name);
  EXPECT_EQ(all.value(u"Title"), title);
}

TEST_P(EngineContract, AnInsertLeavesOtherColumnsAtTheirDefaults) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  const auto row = read(*session, kSales);
  EXPECT_TRUE(is_null(row.value(u"Author")));
  EXPECT_TRUE(is_null(row.value(u"Report_Binary")));
  EXPECT_EQ(to_bytes(row.value(u"RowVersion")).size(), 8u);
}

TEST_P(EngineContract, ARowIsInsertedThroughAPessimisticCursorThatFoundNone) {
  const auto session = open_session();
  session->begin();
  auto held = hold(*session, kSales);
  ASSERT_EQ(held.size(), 0u);
  held.insert({{u"ReportName", text(u"Sales")}, {u"Title", text(u"New")}, {u"SoftLock", Text()}});
  session->commit();
  const auto other = open_session();
  EXPECT_EQ(read(*other, kSales).value(u"Title"), Variant(text(u"New")));
}

TEST_P(EngineContract, AnUpdateOfARowThatIsGoneSaysSo) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  auto rows = read(*session, kSales);
  session->execute(u"Delete From DW_Reports Where ReportName = 'Sales'");
  EXPECT_EQ(number_of([&] { rows.update({{u"Title", text(u"New")}}); }), -2147217864);
  EXPECT_EQ(read(*session, kAllReports).size(), 1u);
}

TEST_P(EngineContract, AKeyThatIsThereAlreadyIsAnIntegrityViolation) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  auto rows = read(*session, kStock);
  EXPECT_EQ(number_of([&] { rows.insert({{u"ReportName", text(u"Sales")}}); }), -2147217873);
  EXPECT_EQ(number_of([&] { rows.update({{u"ReportName", text(u"SALES")}}); }), -2147217873);
  EXPECT_EQ(
      number_of([&] { session->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')"); }),
      -2147217873);
  EXPECT_EQ(read(*session, kAllReports).size(), 2u);
}

TEST_P(EngineContract, ANullKeyIsAnIntegrityViolation) {
  const auto session = open_session();
  auto rows = read(*session, kAllReports);
  EXPECT_EQ(number_of([&] { rows.insert({{u"ReportName", Null{}}}); }), -2147217873);
}

// --- Statements --------------------------------------------------------------------------------

TEST_P(EngineContract, AMalformedStatementIsACommandError) {
  const auto session = open_session();
  for (const TextView statement :
       {TextView(u"Selct * From DW_Reports"), TextView(u"Select * From DW_Nothing"),
        TextView(u"Select Nothing From DW_Reports"),
        TextView(u"Select * From DW_Reports Where ReportName = 'O'Neil'"),
        TextView(u"Select * From DW_Reports Order By ReportName Where ReportName = 'x'")}) {
    SCOPED_TRACE(to_display_utf8(statement));
    EXPECT_EQ(number_of([&] { session->execute(statement); }), -2147217900);
    EXPECT_EQ(number_of([&] { (void)read(*session, statement); }), -2147217900);
    EXPECT_EQ(number_of([&] { (void)hold(*session, statement); }), -2147217900);
  }
  EXPECT_EQ(read(*session, kAllReports).size(), 0u);
}

TEST_P(EngineContract, AStatementOutsideATransactionCommitsByItself) {
  const auto session = open_session();
  session->execute(u"Insert Into DW_Reports (ReportName, Title) Values ('Sales', 'O''Neil')");
  const auto other = open_session();
  EXPECT_EQ(read(*other, kSales).value(u"Title"), Variant(text(u"O'Neil")));
}

TEST_P(EngineContract, TablesCarryTheirOwnersName) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->execute(u"Delete from dbo.DW_Reports Where ReportName = 'Sales'");
  const auto rows = read(*session, u"Select ReportName From dbo.DW_Reports");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.value(u"ReportName"), Variant(text(u"Stock")));
}

TEST_P(EngineContract, TheReportTableAnswersToItsShorterNameToo) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->execute(u"Delete from DW_Report Where ReportName = 'Sales'");
  EXPECT_EQ(read(*session, kAllReports).size(), 1u);
}

TEST_P(EngineContract, ASelectThatIsExecutedDropsItsRecords) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  session->execute(kAllReports);
  EXPECT_EQ(read(*session, kAllReports).size(), 1u);
}

// --- Transactions ------------------------------------------------------------------------------

TEST_P(EngineContract, WhatIsCommittedIsSeenByOthers) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"Title", text(u"New")}});
  session->commit();
  EXPECT_EQ(read(*other, kSales).value(u"Title"), Variant(text(u"New")));
}

TEST_P(EngineContract, WhatIsRolledBackNeverWas) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"Title", text(u"New")}});
  read(*session, kAllReports).insert({{u"ReportName", text(u"Stock")}});
  session->execute(u"Insert Into DW_Reports (ReportName) Values ('Third')");
  EXPECT_EQ(read(*session, kAllReports).size(), 3u);
  session->rollback();
  for (EngineSession* reader : {session.get(), other.get()}) {
    const auto rows = read(*reader, kAllReports);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows.value(u"Title"), Variant(text(u"Old")));
  }
}

TEST_P(EngineContract, AStatementThatFoundNoRowTouchesNoneThatComesLater) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"Title", text(u"New")}});
  session->execute(u"Delete From DW_Reports Where ReportName = 'Stock'");
  other->execute(u"Insert Into DW_Reports (ReportName) Values ('Stock')");
  EXPECT_EQ(read(*session, kStock).size(), 1u);
  session->commit();
  EXPECT_EQ(read(*other, kStock).size(), 1u);
  EXPECT_EQ(read(*other, kSales).value(u"Title"), Variant(text(u"New")));
}

TEST_P(EngineContract, ATransactionFollowsAnother) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  for (const TextView title : {TextView(u"One"), TextView(u"Two"), TextView(u"Three")}) {
    session->begin();
    hold(*session, kSales).update({{u"Title", text(u"never")}});
    session->rollback();
    session->begin();
    hold(*session, kSales).update({{u"Title", text(title)}});
    session->commit();
    EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(text(title)));
  }
}

TEST_P(EngineContract, AnErrorLeavesTheTransactionOpen) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"Title", text(u"New")}});
  EXPECT_EQ(number_of([&] { held.insert({{u"ReportName", text(u"Sales")}}); }), -2147217873);
  held.update({{u"Author", text(u"Ann")}});
  session->commit();
  const auto row = read(*session, kSales);
  EXPECT_EQ(row.value(u"Title"), Variant(text(u"New")));
  EXPECT_EQ(row.value(u"Author"), Variant(text(u"Ann")));
}

// --- Row versions ------------------------------------------------------------------------------

TEST_P(EngineContract, ARowVersionChangesWithEveryUpdateOfItsRowAlone) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  const auto version = [&](TextView statement) {
    return to_bytes(read(*session, statement).value(u"RowVersion")).release();
  };
  const ByteBuffer stock = version(kStock);
  ByteBuffer last = version(kSales);
  ASSERT_EQ(last.size(), 8u);
  EXPECT_NE(last, stock);
  // Also when the values stay what they are, and whoever writes.
  for (int i = 0; i < 2; ++i) {
    read(*session, kSales).update({{u"Title", text(u"Old")}});
    ByteBuffer next = version(kSales);
    EXPECT_GT(next, last);
    last = std::exchange(next, {});
    session->execute(u"Update DW_Reports Set Title = 'Old' Where ReportName = 'Sales'");
    next = version(kSales);
    EXPECT_GT(next, last);
    last = next;
  }
  EXPECT_EQ(version(kStock), stock);
}

TEST_P(EngineContract, ARowVersionChangesInsideATransactionAndIsRestoredByItsRollback) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  const auto version = [&] { return to_bytes(read(*session, kSales).value(u"RowVersion")); };
  const Bytes before = version();
  session->begin();
  auto held = hold(*session, kSales);
  EXPECT_EQ(to_bytes(held.value(u"RowVersion")), before);
  held.update({{u"SoftLock", text(u"HOST - now")}});
  const Bytes stamped = version();
  EXPECT_NE(stamped, before);
  held.update({{u"SoftLock", Text()}});
  EXPECT_NE(version(), stamped);
  session->rollback();
  EXPECT_EQ(version(), before);
}

TEST_P(EngineContract, ALoadIsReadByItsSessionAndArrivesAsAWhole) {
  const auto session = open_session();
  session->begin_load();
  add_reports(*session, {u"Sales", u"Stock"});
  session->execute(u"Update DW_Reports Set Title = 'New' Where ReportName = 'Stock'");
  EXPECT_EQ(read(*session, kAllReports).size(), 2u);
  EXPECT_EQ(read(*session, kStock).value(u"Title"), Variant(text(u"New")));
  session->commit();
  const auto other = open_session();
  EXPECT_EQ(read(*other, kAllReports).size(), 2u);
  add_reports(*session, {u"Orders"});
  EXPECT_EQ(read(*other, kAllReports).size(), 3u);
}

TEST_P(EngineContract, ALoadThatIsRolledBackOrLeftLeavesNothing) {
  auto session = open_session();
  session->begin_load();
  add_reports(*session, {u"Sales", u"Stock"});
  session->rollback();
  EXPECT_EQ(read(*session, kAllReports).size(), 0u);
  session->begin_load();
  add_reports(*session, {u"Sales"});
  session.reset();
  EXPECT_EQ(read(*open_session(), kAllReports).size(), 0u);
}

TEST_P(EngineContract, ALoadGoesOnAfterARowThatWasRefused) {
  const auto session = open_session();
  session->begin_load();
  add_reports(*session, {u"Sales"});
  EXPECT_EQ(read(*session, kAllReports).size(), 1u);
  // An engine that sends rows in blocks is told of the refusal when it sends them.
  EXPECT_EQ(number_of([&] {
              add_reports(*session, {u"Sales"});
              static_cast<void>(read(*session, kAllReports));
            }),
            static_cast<std::int32_t>(ado::AdoErrorNumber::kIntegrityViolation));
  add_reports(*session, {u"Stock"});
  session->commit();
  EXPECT_EQ(read(*session, kAllReports).size(), 2u);
}

}  // namespace tarnwick::engine_contract
