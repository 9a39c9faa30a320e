#include "runtime/conversions.h"
#include "tests/engines/contract_steps.h"
#include "tests/engines/engine_contract.h"

namespace tarnwick::engine_contract {

using ado::RowsetRequest;

namespace {

Bytes bytes_of(std::size_t size) {
  ByteBuffer bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::byte>((i * 7 + i / 251) & 0xFF);
  return bytes;
}

}  // namespace

// --- Rowsets -----------------------------------------------------------------------------------

TEST_P(EngineContract, ARowsetHasTheStatementsColumnsInItsOrder) {
  const auto session = open_session();
  const auto rows = read(*session, u"Select Title, ReportName, Author As Writer From DW_Reports");
  EXPECT_EQ(rows.column(u"Title"), 0u);
  EXPECT_EQ(rows.column(u"ReportName"), 1u);
  EXPECT_EQ(rows.column(u"Writer"), 2u);
  EXPECT_EQ(rows.size(), 0u);
}

TEST_P(EngineContract, AStatementWithoutRecordsHasNoColumnsAndIsCarriedOut) {
  const auto session = open_session();
  add_reports(*session, {u"Sales", u"Stock"});
  for (const auto lock : {ado::LockType::kReadOnly, ado::LockType::kOptimistic}) {
    const RowsetRequest request{.statement = lock == ado::LockType::kReadOnly
                                                 ? u"Delete From DW_Reports Where Title = 'New'"
                                                 : u"Delete From DW_Reports Where Title = 'Old'",
                                .location = ado::CursorLocation::kClient,
                                .lock = lock};
    EXPECT_TRUE(session->open(request)->columns().empty());
  }
  EXPECT_EQ(read(*session, kAllReports).size(), 0u);
}

TEST_P(EngineContract, RowsAreFetchedInPiecesUntilFewerThanAskedForCome) {
  const auto session = open_session();
  add_reports(*session, {u"A", u"B", u"C", u"D", u"E"});
  const auto rowset =
      session->open({.statement = u"Select ReportName From DW_Reports Order By ReportName"});
  ado::RowBuffer rows(1);
  rowset->fetch(rows, 2);
  EXPECT_EQ(rows.rows(), 2u);
  rowset->fetch(rows, 2);
  EXPECT_EQ(rows.rows(), 4u);
  rowset->fetch(rows, 2);
  ASSERT_EQ(rows.rows(), 5u);
  std::vector<ado::Cell> cell(1);
  Text names;
  for (std::size_t row = 0; row < 5; ++row) {
    rows.read_row(row, cell);
    names += std::get<Text>(cell[0].to_variant());
  }
  EXPECT_EQ(names, u"ABCDE");
}

TEST_P(EngineContract, ASecondRowsetLivesBesideTheFirst) {
  const auto session = open_session();
  add_reports(*session, {u"A", u"B"});
  const auto first =
      session->open({.statement = u"Select ReportName From DW_Reports Order By ReportName"});
  ado::RowBuffer rows(1);
  first->fetch(rows, 1);
  EXPECT_EQ(read(*session, kAllReports).size(), 2u);
  session->execute(u"SET LOCK_TIMEOUT 100");
  first->fetch(rows, 1);
  EXPECT_EQ(rows.rows(), 2u);
}

// --- Values ------------------------------------------------------------------------------------

TEST_P(EngineContract, NumbersDatesAndTruthValuesRoundTrip) {
  const auto session = open_session();
  const Date login = to_date(
      CivilTime{.year = 2023, .month = 11, .day = 7, .hour = 13, .minute = 59, .second = 58});
  read(*session, u"Select * From DW_SEC_PC")
      .insert({{u"MACNbr", text(u"00-1A-2B")},
               {u"ComputerID", text(u"PC1")},
               {u"CompID", std::int16_t{-32768}},
               {u"MaintType", std::int32_t{5}},
               {u"ActiveStatus", true},
               {u"ImageIndex", std::int16_t{32767}},
               {u"TotalLogins", std::int32_t{2147483647}},
               {u"LastLogin", login},
               {u"ActivateDate", Date{45000.0}},
               {u"DeactivateDate", Date{0.0}}});
  const auto row = read(*session, u"Select * From DW_SEC_PC");
  ASSERT_EQ(row.size(), 1u);
  EXPECT_EQ(to_int16(row.value(u"CompID")), -32768);
  EXPECT_EQ(to_int32(row.value(u"MaintType")), 5);
  EXPECT_TRUE(to_bool(row.value(u"ActiveStatus")));
  EXPECT_EQ(to_int16(row.value(u"ImageIndex")), 32767);
  EXPECT_EQ(to_int32(row.value(u"TotalLogins")), 2147483647);
  EXPECT_EQ(to_iso_text(to_date(row.value(u"LastLogin"))), u"2023-11-07 13:59:58");
  EXPECT_EQ(to_date(row.value(u"ActivateDate")), Date{45000.0});
  EXPECT_EQ(to_date(row.value(u"DeactivateDate")), Date{0.0});
}

TEST_P(EngineContract, AFalseAndANegativeNumberRoundTrip) {
  const auto session = open_session();
  read(*session, u"Select * From DW_SEC_COMP")
      .insert({{u"CompID", std::int16_t{7}},
               {u"ForceDisplay", false},
               {u"MaintType", std::int16_t{2}},
               {u"Priority", std::int16_t{-1}}});
  const auto row = read(*session, u"Select * From DW_SEC_COMP");
  ASSERT_EQ(row.size(), 1u);
  EXPECT_FALSE(to_bool(row.value(u"ForceDisplay")));
  EXPECT_EQ(to_int16(row.value(u"Priority")), -1);
}

TEST_P(EngineContract, AFloatingPointResultIsReadInFull) {
  const auto session = open_session();
  const auto row = read(*session, u"Select CAST(1 AS FLOAT) / 3 As Third");
  EXPECT_EQ(to_double(row.value(u"Third")), 1.0 / 3.0);
}

TEST_P(EngineContract, NullsRoundTripAndAreNotEmptyText) {
  const auto session = open_session();
  read(*session, kAllReports)
      .insert({{u"ReportName", text(u"Sales")},
               {u"Title", Null{}},
               {u"Author", Text()},
               {u"Created", Null{}},
               {u"ImageIndex", Null{}},
               {u"TTX_Binary", Null{}}});
  auto row = read(*session, kSales);
  ASSERT_EQ(row.size(), 1u);
  EXPECT_TRUE(is_null(row.value(u"Title")));
  EXPECT_EQ(row.value(u"Author"), Variant(Text()));
  EXPECT_TRUE(is_null(row.value(u"Created")));
  EXPECT_TRUE(is_null(row.value(u"ImageIndex")));
  EXPECT_TRUE(is_null(row.value(u"TTX_Binary")));

  row.update({{u"Title", Text()}, {u"Author", Null{}}});
  const auto again = read(*session, kSales);
  EXPECT_EQ(again.value(u"Title"), Variant(Text()));
  EXPECT_TRUE(is_null(again.value(u"Author")));
}

TEST_P(EngineContract, AnyTextRoundTrips) {
  const auto session = open_session();
  for (const TextView value :
       {TextView(u"O'Neil \"quoted\" [bracketed] %_?;--"), TextView(u"naïve Ωmega żółw \u2028"),
        TextView(u"beyond the first plane: \U0001F5C4 \U00020BB7"), TextView(u"tab\tline\r\nline"),
        TextView(u"  blanks at both ends  ")}) {
    SCOPED_TRACE(to_display_utf8(value));
    session->execute(u"Delete From DW_Reports");
    add_reports(*session, {u"Sales"});
    read(*session, kSales).update({{u"ReportDesc", text(value)}});
    EXPECT_EQ(read(*session, kSales).value(u"ReportDesc"), Variant(text(value)));
    EXPECT_EQ(hold(*session, kSales).value(u"ReportDesc"), Variant(text(value)));
  }
}

TEST_P(EngineContract, LongTextRoundTrips) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  Text value;
  while (value.size() < 1'000'000) value += u"Select é, \U0001F5C4 From 'T' ";
  read(*session, kSales).update({{u"SQLStmnt", value}, {u"Definition", text(u"short")}});
  for (const auto& row : {read(*session, kSales), hold(*session, kSales)}) {
    EXPECT_TRUE(row.value(u"SQLStmnt") == Variant(value));
    EXPECT_EQ(row.value(u"Definition"), Variant(text(u"short")));
  }
}

TEST_P(EngineContract, EveryByteValueRoundTrips) {
  const auto session = open_session();
  ByteBuffer value(256);
  for (std::size_t i = 0; i < value.size(); ++i) value[i] = static_cast<std::byte>(i);
  read(*session, kAllReports)
      .insert({{u"ReportName", text(u"Sales")},
               {u"TTX_Binary", value},
               {u"Report_Binary", Bytes{std::byte{0}}}});
  const auto row = read(*session, kSales);
  EXPECT_EQ(row.value(u"TTX_Binary"), Variant(value));
  EXPECT_EQ(row.value(u"Report_Binary"), Variant(Bytes{std::byte{0}}));
}

TEST_P(EngineContract, ManyMegabytesRoundTrip) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  const Bytes value = bytes_of(20'000'003);
  read(*session, kSales).update({{u"Report_Binary", value}, {u"Title", text(u"Big")}});
  for (const auto& row : {read(*session, kSales), hold(*session, kSales)}) {
    EXPECT_TRUE(row.value(u"Report_Binary") == Variant(value));
    EXPECT_EQ(row.value(u"Title"), Variant(text(u"Big")));
  }
}

TEST_P(EngineContract, TextKeysAreFoundInAnyLetterCase) {
  const auto session = open_session();
  add_reports(*session, {u"Sales"});
  EXPECT_EQ(read(*session, u"Select * From DW_Reports Where ReportName = 'SALES'").size(), 1u);
  EXPECT_EQ(hold(*session, u"Select * From DW_Reports Where ReportName = 'sales'").size(), 1u);
}

}  // namespace tarnwick::engine_contract
