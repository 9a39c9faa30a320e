#include "tests/engines/engine_contract.h"

#include <algorithm>
#include <limits>

#include "ado/error.h"
#include "runtime/case_mapping.h"
#include "runtime/conversions.h"

namespace tarnwick::engine_contract {

using ado::AdoError;
using ado::AdoErrorNumber;
using ado::EngineSession;
using ado::RowsetRequest;

namespace {

constexpr std::size_t kAllRows = std::numeric_limits<std::size_t>::max();

constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";
constexpr TextView kStock = u"Select * From DW_Reports Where ReportName = 'Stock'";
constexpr TextView kAllReports = u"Select * From DW_Reports Order By ReportName";

Text text(TextView literal) { return Text(literal); }

/// The error that `step` ends with; a test failure when it ends without one.
template <class Step>
AdoError error_of(Step&& step) {
  try {
    step();
  } catch (const AdoError& error) {
    return error;
  }
  ADD_FAILURE() << "no error where one has to be";
  return AdoError(AdoErrorNumber::kUnspecified, u"no error");
}

template <class Step>
std::int32_t number_of(Step&& step) {
  return error_of(std::forward<Step>(step)).number();
}

constexpr std::int32_t number(AdoErrorNumber value) { return static_cast<std::int32_t>(value); }

template <class Step>
void expect_lock_timeout(Step&& step) {
  const AdoError error = error_of(std::forward<Step>(step));
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
  EXPECT_EQ(error.native(), ado::kNativeLockTimeout);
  EXPECT_NE(error.description().find(ado::kLockTimeoutText), Text::npos) << error.what();
}

Bytes bytes_of(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::byte>((i * 7 + i / 251) & 0xFF);
  return bytes;
}

}  // namespace

FetchedRows::FetchedRows(std::unique_ptr<ado::Rowset> rowset, std::size_t limit)
    : rowset_(std::move(rowset)), rows_(rowset_->columns().size()) {
  rowset_->fetch(rows_, limit);
}

Variant FetchedRows::value(TextView name, std::size_t row) const {
  return cells(row).at(column(name)).to_variant();
}

std::vector<ado::Cell> FetchedRows::cells(std::size_t row) const {
  std::vector<ado::Cell> cells(rows_.columns());
  if (row >= rows_.rows()) throw std::out_of_range("no such row was fetched");
  rows_.read_row(row, cells);
  return cells;
}

std::size_t FetchedRows::column(TextView name) const {
  const auto& columns = rowset_->columns();
  const auto found = std::find_if(columns.begin(), columns.end(), [&](const ado::Column& column) {
    return equals_ignoring_case(column.name, name);
  });
  if (found == columns.end()) throw std::out_of_range(to_utf8(join({u"no column ", name})));
  return static_cast<std::size_t>(found - columns.begin());
}

void FetchedRows::update(Values values, std::size_t row) {
  std::vector<ado::Assignment> assigned;
  for (const auto& [name, value] : values) assigned.push_back({column(name), &value});
  rowset_->update(cells(row), assigned);
}

void FetchedRows::insert(Values values) {
  std::vector<ado::Assignment> assigned;
  for (const auto& [name, value] : values) assigned.push_back({column(name), &value});
  rowset_->insert(assigned);
}

void EngineContract::SetUp() {
  if (!GetParam().unavailable.empty()) GTEST_SKIP() << GetParam().unavailable;
  under_test_ = GetParam().make();
}

std::unique_ptr<EngineSession> EngineContract::connect(TextView more_items) {
  const Text string = join({under_test().connection_string(), u";OLE DB Services=-2;", more_items});
  return under_test().engine().connect(ado::ConnectionString::parse(string));
}

std::unique_ptr<EngineSession> EngineContract::open_session() {
  auto session = connect();
  session->set_default_database(under_test().database());
  session->execute(join(
      {u"EXEC sp_setapprole '", under_test().role(), u"','", under_test().role_password(), u"'"}));
  session->execute(u"SET LOCK_TIMEOUT 100");
  return session;
}

FetchedRows EngineContract::read(EngineSession& session, TextView statement, ado::LockType lock) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kClient,
                                   .type = ado::CursorType::kStatic,
                                   .lock = lock}),
                     kAllRows);
}

FetchedRows EngineContract::look(EngineSession& session, TextView statement) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kServer,
                                   .type = ado::CursorType::kForwardOnly,
                                   .lock = ado::LockType::kReadOnly}),
                     1);
}

FetchedRows EngineContract::hold(EngineSession& session, TextView statement) {
  return FetchedRows(session.open({.statement = statement,
                                   .location = ado::CursorLocation::kServer,
                                   .type = ado::CursorType::kDynamic,
                                   .lock = ado::LockType::kPessimistic}),
                     1);
}

void EngineContract::add_reports(EngineSession& session, std::initializer_list<TextView> names) {
  FetchedRows rows = read(session, kAllReports);
  for (const TextView name : names) {
    rows.insert({{u"ReportName", text(name)}, {u"Title", text(u"Old")}});
  }
}

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
  Bytes value(256);
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
    return to_bytes(read(*session, statement).value(u"RowVersion"));
  };
  const Bytes stock = version(kStock);
  Bytes last = version(kSales);
  ASSERT_EQ(last.size(), 8u);
  EXPECT_NE(last, stock);
  // Also when the values stay what they are, and whoever writes.
  for (int i = 0; i < 2; ++i) {
    read(*session, kSales).update({{u"Title", text(u"Old")}});
    Bytes next = version(kSales);
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

// --- Row locks ---------------------------------------------------------------------------------

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

// --- Connecting --------------------------------------------------------------------------------

TEST_P(EngineContract, AnUnknownDatabaseIsRefused) {
  const auto session = connect();
  EXPECT_EQ(number_of([&] { session->set_default_database(u"No_Such_Database"); }),
            under_test().codes().unknown_database);
}

TEST_P(EngineContract, AWrongRoleOrPasswordIsRefusedWithoutTellingThePassword) {
  const auto session = connect();
  session->set_default_database(under_test().database());
  const AdoError wrong_password = error_of([&] {
    session->execute(join({u"EXEC sp_setapprole '", under_test().role(), u"','Wrong-Secret-1'"}));
  });
  EXPECT_EQ(wrong_password.number(), under_test().codes().role_refused);
  EXPECT_EQ(find_ignoring_case(wrong_password.description(), u"wrong-secret"), Text::npos);
  const AdoError wrong_role =
      error_of([&] { session->execute(u"EXEC sp_setapprole 'no_such_role','Wrong-Secret-1'"); });
  EXPECT_EQ(wrong_role.number(), under_test().codes().role_refused);
  EXPECT_EQ(find_ignoring_case(wrong_role.description(), u"wrong-secret"), Text::npos);
}

TEST_P(EngineContract, ARolePasswordThatHoldsAQuoteMakesAMalformedStatement) {
  const auto session = connect();
  session->set_default_database(under_test().database());
  const AdoError error = error_of([&] {
    session->execute(join({u"EXEC sp_setapprole '", under_test().role(), u"','secret'ive'"}));
  });
  EXPECT_EQ(error.number(), -2147217900);
}

TEST_P(EngineContract, TablesAreClosedUntilTheRoleIsEntered) {
  const auto refused = under_test().codes().role_missing;
  if (!refused) GTEST_SKIP() << "the login of this test may read the tables without the role";
  const auto session = connect();
  session->set_default_database(under_test().database());
  EXPECT_EQ(number_of([&] { (void)read(*session, kAllReports); }), *refused);
  EXPECT_EQ(number_of([&] { session->execute(u"Delete From DW_Reports"); }), *refused);
}

TEST_P(EngineContract, AnUnknownItemOfTheConnectionStringIsNamedWithoutItsValue) {
  const AdoError error = error_of([&] { (void)connect(u"Colour=seekrit"); });
  EXPECT_NE(error.description().find(u"Colour"), Text::npos) << error.what();
  EXPECT_EQ(error.description().find(u"seekrit"), Text::npos) << error.what();
}

}  // namespace tarnwick::engine_contract
