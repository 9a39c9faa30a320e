#include "tests/engines/contract_steps.h"
#include "tests/engines/engine_contract.h"

namespace tarnwick::engine_contract {

TEST_P(EngineContract, AHeldRowHidesFromASecondHolderAndTimesOutForAReader) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"SoftLock", text(u"HOST - now")}});

  other->begin();
  const auto second = hold(*other, kSales);
  EXPECT_EQ(second.size(), 0u);
  EXPECT_FALSE(second.column(u"ReportName") == second.column(u"Title"));
  other->rollback();
  expect_lock_timeout([&] { (void)look(*other, kSales); });
  expect_lock_timeout([&] { (void)read(*other, kSales); });
  expect_lock_timeout([&] { (void)read(*other, kAllReports); });

  held.update({{u"SoftLock", Text()}, {u"Title", text(u"New")}});
  session->commit();
  EXPECT_EQ(look(*other, kSales).value(u"Title"), Variant(text(u"New")));
  other->begin();
  auto third = hold(*other, kSales);
  ASSERT_EQ(third.size(), 1u);
  third.update({{u"Title", text(u"Newer")}});
  other->commit();
  EXPECT_EQ(read(*session, kSales).value(u"Title"), Variant(text(u"Newer")));
}

TEST_P(EngineContract, ALockIsTakenWhenTheRowIsOpenedNotWhenItIsStamped) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  const auto held = hold(*session, kSales);
  ASSERT_EQ(held.size(), 1u);
  other->begin();
  EXPECT_EQ(hold(*other, kSales).size(), 0u);
  other->rollback();
  session->rollback();
  other->begin();
  EXPECT_EQ(hold(*other, kSales).size(), 1u);
  other->rollback();
}

TEST_P(EngineContract, ARollbackFreesARow) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"SoftLock", text(u"HOST - now")}});
  session->rollback();
  EXPECT_TRUE(is_null(look(*other, kSales).value(u"SoftLock")));
  other->begin();
  EXPECT_EQ(hold(*other, kSales).size(), 1u);
  other->rollback();
}

TEST_P(EngineContract, ALockOutlivesItsRowsetInsideATransaction) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  other->begin();
  EXPECT_EQ(hold(*other, kSales).size(), 0u);
  other->rollback();
  session->commit();
  EXPECT_EQ(read(*other, kSales).value(u"SoftLock"), Variant(text(u"HOST - now")));
}

TEST_P(EngineContract, TwoSessionsMaintainTwoRowsAtOnce) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  other->begin();
  auto sales = hold(*session, kSales);
  auto stock = hold(*other, kStock);
  ASSERT_EQ(sales.size(), 1u);
  ASSERT_EQ(stock.size(), 1u);
  sales.update({{u"SoftLock", text(u"HOST - now")}});
  stock.update({{u"SoftLock", text(u"OTHER - now")}});
  sales.update({{u"Title", text(u"New sales")}, {u"SoftLock", Text()}});
  stock.update({{u"Title", text(u"New stock")}, {u"SoftLock", Text()}});
  session->commit();
  other->commit();
  const auto rows = read(*session, kAllReports);
  EXPECT_EQ(rows.value(u"Title", 0), Variant(text(u"New sales")));
  EXPECT_EQ(rows.value(u"Title", 1), Variant(text(u"New stock")));
}

TEST_P(EngineContract, AReaderOfAnotherRowDoesNotWait) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  EXPECT_EQ(look(*other, kStock).value(u"Title"), Variant(text(u"Old")));
  EXPECT_EQ(read(*other, u"Select * From DW_SEC_COMP").size(), 0u);
  session->rollback();
}

TEST_P(EngineContract, TheHolderReadsItsOwnRow) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  EXPECT_EQ(look(*session, kSales).value(u"SoftLock"), Variant(text(u"HOST - now")));
  EXPECT_EQ(read(*session, kAllReports).size(), 1u);
  EXPECT_EQ(hold(*session, kSales).size(), 1u);
  session->rollback();
}

TEST_P(EngineContract, ADeleteOfAHeldRowTimesOut) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  expect_lock_timeout(
      [&] { other->execute(u"Delete from dbo.DW_Reports Where ReportName = 'Sales'"); });
  other->execute(u"Delete from dbo.DW_Reports Where ReportName = 'Stock'");
  session->commit();
  EXPECT_EQ(read(*other, kAllReports).size(), 1u);
  other->execute(u"Delete from dbo.DW_Reports Where ReportName = 'Sales'");
  EXPECT_EQ(read(*other, kAllReports).size(), 0u);
}

TEST_P(EngineContract, TheEndOfASessionRollsBackAndFreesItsRows) {
  auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"Title", text(u"New")}});
  session.reset();
  other->begin();
  const auto held = hold(*other, kSales);
  ASSERT_EQ(held.size(), 1u);
  EXPECT_EQ(held.value(u"Title"), Variant(text(u"Old")));
  other->rollback();
}

TEST_P(EngineContract, ALockTimeoutDoesNotEndTheWaitersTransaction) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  other->begin();
  hold(*other, kStock).update({{u"Title", text(u"New")}});
  expect_lock_timeout([&] { (void)look(*other, kSales); });
  other->commit();
  EXPECT_EQ(look(*other, kStock).value(u"Title"), Variant(text(u"New")));
  session->rollback();
}

TEST_P(EngineContract, ALockTimeoutOfNothingDoesNotWait) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  other->execute(u"SET LOCK_TIMEOUT 0");
  expect_lock_timeout([&] { (void)look(*other, kSales); });
  session->rollback();
}

TEST_P(EngineContract, RowsOfThePcRegisterAreHeldByTheirWholeKey) {
  const auto session = open_session();
  const auto other = open_session();
  auto rows = read(*session, u"Select * From DW_SEC_PC");
  for (const std::int16_t component : {std::int16_t{1}, std::int16_t{2}}) {
    rows.insert({{u"MACNbr", text(u"00-1A")},
                 {u"ComputerID", text(u"PC1")},
                 {u"CompID", component},
                 {u"MaintType", std::int32_t{5}},
                 {u"ActiveStatus", true},
                 {u"ImageIndex", std::int16_t{10}}});
  }
  const TextView first =
      u"Select * From DW_SEC_PC Where MACNbr = '00-1A' And ComputerID = 'PC1' And CompID = 1";
  const TextView second =
      u"Select * From DW_SEC_PC Where MACNbr = '00-1A' And ComputerID = 'PC1' And CompID = 2";
  session->begin();
  hold(*session, first).update({{u"SoftLock", text(u"HOST - now")}});
  other->begin();
  EXPECT_EQ(hold(*other, first).size(), 0u);
  EXPECT_EQ(hold(*other, second).size(), 1u);
  other->rollback();
  session->rollback();
}

TEST_P(EngineContract, HeldRowsAreListedWithTheirStampsUntilTheyAreFree) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  EXPECT_TRUE(other->held_rows().empty());
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - 11/7/2023 1:59:58 PM")}});
  const auto rows = other->held_rows();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].table, u"DW_Reports");
  EXPECT_NE(rows[0].key.find(u"Sales"), Text::npos) << to_display_utf8(rows[0].key);
  EXPECT_EQ(rows[0].stamp, u"HOST - 11/7/2023 1:59:58 PM");
  session->rollback();
  EXPECT_TRUE(other->held_rows().empty());
}

TEST_P(EngineContract, AReaderThatDoesNotWaitIsShownAHeldRow) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"SoftLock", text(u"HOST - now")}});
  const auto rowset =
      other->open({.statement = kAllReports, .held_rows = ado::HeldRowReading::kAsItStands});
  ado::RowBuffer rows(rowset->columns().size());
  rowset->fetch(rows, 10);
  EXPECT_EQ(rows.rows(), 2u);
  session->rollback();
}

TEST_P(EngineContract, AReaderOfWhatWasCommittedNeverSeesWhatIsNot) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  const auto read = [&](TextView statement) {
    const auto rowset =
        other->open({.statement = statement, .held_rows = ado::HeldRowReading::kAsCommitted});
    ado::RowBuffer rows(rowset->columns().size());
    rowset->fetch(rows, 10);
    return rows.rows();
  };
  session->begin();
  auto held = hold(*session, kSales);
  held.update({{u"SoftLock", text(u"HOST - now")}});
  try {
    const auto rowset =
        other->open({.statement = u"Select SoftLock From DW_Reports Where ReportName = 'Sales'",
                     .held_rows = ado::HeldRowReading::kAsCommitted});
    ado::RowBuffer rows(1);
    rowset->fetch(rows, 10);
    ASSERT_EQ(rows.rows(), 1u);
    std::vector<ado::Cell> cells(1);
    rows.read_row(0, cells);
    EXPECT_TRUE(cells[0].is_null());
  } catch (const ado::AdoError& error) {
    // Said at once, where the database keeps no versions of the row.
    EXPECT_EQ(error.native(), ado::kNativeLockTimeout);
  }
  EXPECT_EQ(read(u"Select ReportName From DW_Reports Where ReportName = 'Stock'"), 1u);
  session->rollback();
  EXPECT_EQ(read(kAllReports), 2u);
}

TEST_P(EngineContract, TheHolderOfARowIsToldByItsKey) {
  const auto session = open_session();
  const auto other = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  session->begin();
  hold(*session, kSales).update({{u"SoftLock", text(u"HOST - now")}});
  const auto holder = other->holder_of({u"dw_reports", {u"sales"}});
  ASSERT_TRUE(holder.has_value());
  EXPECT_EQ(holder->stamp, u"HOST - now");
  EXPECT_FALSE(other->holder_of({u"DW_Reports", {u"Stock"}}).has_value());
  EXPECT_FALSE(other->holder_of({u"DW_SEC_PC", {u"Sales"}}).has_value());
  session->rollback();
  EXPECT_FALSE(other->holder_of({u"DW_Reports", {u"Sales"}}).has_value());
}

TEST_P(EngineContract, TellsTheLengthOfAValue) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  const auto rowset =
      session->open({.statement = join({u"Select ", session->byte_length_of(u"Report_Binary"),
                                        u" As FileLength From DW_Reports"})});
  ado::RowBuffer rows(rowset->columns().size());
  rowset->fetch(rows, 10);
  ASSERT_EQ(rows.rows(), 1u);
  std::vector<ado::Cell> cells(1);
  rows.read_row(0, cells);
  EXPECT_TRUE(cells[0].is_null());
}

}  // namespace tarnwick::engine_contract
