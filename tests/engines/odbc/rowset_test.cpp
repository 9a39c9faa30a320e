#include "engines/odbc/rowset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engines/odbc/engine.h"
#include "tests/engines/odbc/errors.h"
#include "tests/engines/odbc/scripted_odbc.h"

namespace tarnwick::odbc_test {
namespace {

using odbc::Diagnostic;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";
constexpr TextView kHinted =
    u"exec Select * From DW_Reports WITH (UPDLOCK, ROWLOCK) Where ReportName = 'Sales'";
constexpr TextView kColumnsOnly = u"exec Select * From DW_Reports WITH (NOLOCK) WHERE 1 = 0";

Reply reports(std::vector<std::vector<Variant>> rows) {
  return {.columns = {{u"ReportName", wide_text(128)},
                      {u"Title", wide_text(255)},
                      {u"SoftLock", wide_text(100)},
                      {u"Report_Binary", long_bytes()}},
          .rows = std::move(rows)};
}

std::vector<Variant> sales() { return {Text(u"Sales"), Text(u"Old"), Null{}, Null{}}; }

class OdbcRowsetTest : public testing::Test {
 protected:
  OdbcRowsetTest() {
    odbc_.on(u"From DW_Reports", {reports({sales()})});
    odbc_.on(u"From dbo.DW_REPORTS", {reports({sales()})});
    odbc_.set_key(u"DW_Reports", {{u"dbo", u"ReportName"}});
    session_ =
        engine_.connect(ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=h;User ID=u"));
    (void)odbc_.take_log();
  }

  std::unique_ptr<ado::Rowset> hold(TextView statement = kSales) {
    return session_->open({.statement = statement,
                           .location = ado::CursorLocation::kServer,
                           .type = ado::CursorType::kDynamic,
                           .lock = ado::LockType::kPessimistic});
  }
  std::unique_ptr<ado::Rowset> read(TextView statement = kSales) {
    return session_->open({.statement = statement,
                           .location = ado::CursorLocation::kClient,
                           .type = ado::CursorType::kStatic,
                           .lock = ado::LockType::kOptimistic});
  }
  static std::vector<ado::Cell> first_row(ado::Rowset& rowset, ado::RowBuffer& rows) {
    rowset.fetch(rows, 1);
    std::vector<ado::Cell> cells(rowset.columns().size());
    if (rows.rows() == 1) rows.read_row(0, cells);
    return cells;
  }

  ScriptedOdbc odbc_;
  odbc::OdbcEngine engine_{odbc_};
  std::unique_ptr<ado::EngineSession> session_;
};

// --- Locking -----------------------------------------------------------------------------------

TEST_F(OdbcRowsetTest, APessimisticServerCursorLocksItsRowWhenItOpens) {
  session_->begin();
  const auto held = hold();
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"autocommit off", kHinted));
  ado::RowBuffer rows(4);
  EXPECT_EQ(first_row(*held, rows)[0].to_variant(), Variant(Text(u"Sales")));
  held->fetch(rows, 1);
  EXPECT_EQ(rows.rows(), 1u);
}

TEST_F(OdbcRowsetTest, OtherCursorsRunTheStatementAsItStands) {
  (void)read();
  (void)session_->open({.statement = kSales});
  (void)session_->open({.statement = kSales,
                        .location = ado::CursorLocation::kServer,
                        .type = ado::CursorType::kDynamic,
                        .lock = ado::LockType::kOptimistic});
  (void)session_->open({.statement = kSales,
                        .location = ado::CursorLocation::kClient,
                        .lock = ado::LockType::kPessimistic});
  const Text line = join({u"exec ", kSales});
  EXPECT_THAT(odbc_.take_log(), ElementsAre(line, line, line, line));
}

TEST_F(OdbcRowsetTest, ARowThatIsLockedElsewhereIsNotShownWhereverTheDriverNoticesIt) {
  Reply at_fetch = reports({});
  at_fetch.fetch_error = Diagnostic{"42000", 1222, u"Lock request time out period exceeded."};
  session_->begin();
  for (const Reply& reply : {fails("HYT00", 1222, u"locked"), at_fetch}) {
    odbc_.on(u"UPDLOCK", {reply});
    (void)odbc_.take_log();
    const auto held = hold();
    ASSERT_EQ(held->columns().size(), 4u);
    EXPECT_EQ(held->columns()[1].name, u"Title");
    ado::RowBuffer rows(4);
    held->fetch(rows, 1);
    EXPECT_EQ(rows.rows(), 0u);
    if (reply.error) {
      EXPECT_THAT(odbc_.take_log(), ElementsAre(kHinted, kColumnsOnly));
    } else {
      EXPECT_THAT(odbc_.take_log(), ElementsAre(kHinted));
    }
    // The transaction is there still.
    session_->execute(u"DELETE FROM T");
  }
  session_->commit();
}

TEST_F(OdbcRowsetTest, AReaderIsToldOfALockTimeout) {
  Reply at_fetch = reports({});
  at_fetch.fetch_error = Diagnostic{"42000", 1222, u"locked"};
  odbc_.on(u"From DW_Reports", {fails("42000", 1222, u"locked"), at_fetch});
  EXPECT_EQ(error_of([&] { (void)read(); }).native(), 1222);
  const auto rowset = read();
  ado::RowBuffer rows(4);
  EXPECT_EQ(error_of([&] { rowset->fetch(rows, 10); }).native(), 1222);
}

TEST_F(OdbcRowsetTest, AnyOtherErrorOfALockingOpenIsThrown) {
  odbc_.on(u"UPDLOCK", {fails("42S02", 208, u"Invalid object name")});
  EXPECT_EQ(error_of([&] { (void)hold(); }).number(), -2147217900);
}

// --- Reading what was committed ------------------------------------------------------------------

constexpr TextView kCommitted =
    u"exec Select * From DW_Reports WITH (READCOMMITTED, NOWAIT) Where ReportName = 'Sales'";
constexpr TextView kInSnapshot = u"exec SET TRANSACTION ISOLATION LEVEL SNAPSHOT";
constexpr TextView kBack =
    u"exec IF EXISTS (SELECT 1 FROM sys.databases WHERE database_id = DB_ID() "
    u"AND is_read_committed_snapshot_on = 1) SET TRANSACTION ISOLATION LEVEL "
    u"REPEATABLE READ ELSE SET TRANSACTION ISOLATION LEVEL READ COMMITTED";

TEST_F(OdbcRowsetTest, AReaderOfWhatWasCommittedWaitsForNoLock) {
  const auto rowset =
      session_->open({.statement = kSales, .held_rows = ado::HeldRowReading::kAsCommitted});
  EXPECT_THAT(odbc_.take_log(), ElementsAre(kCommitted));
  ado::RowBuffer rows(4);
  rowset->fetch(rows, 10);
  EXPECT_EQ(rows.rows(), 1u);
}

TEST_F(OdbcRowsetTest, AReaderOfWhatWasCommittedTakesASnapshotWhereTheRowIsHeld) {
  odbc_.logs_options = true;
  odbc_.on(u"NOWAIT", {fails("42000", 1222, u"locked")});
  const auto rowset =
      session_->open({.statement = kSales, .held_rows = ado::HeldRowReading::kAsCommitted});
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(kCommitted, kInSnapshot, Text(u"exec ") + Text(kSales), kBack));
  ado::RowBuffer rows(4);
  rowset->fetch(rows, 10);
  EXPECT_EQ(rows.rows(), 1u);
}

TEST_F(OdbcRowsetTest, AReaderOfWhatWasCommittedIsToldWhereTheDatabaseKeepsNoSnapshots) {
  odbc_.logs_options = true;
  odbc_.on(u"From DW_Reports", {fails("42000", 1222, u"locked"),
                                fails("42000", 3952, u"Snapshot isolation is not allowed")});
  const auto error = error_of([&] {
    (void)session_->open({.statement = kSales, .held_rows = ado::HeldRowReading::kAsCommitted});
  });
  EXPECT_EQ(error.native(), 1222);
  EXPECT_EQ(odbc_.take_log().back(), kBack);
}

TEST_F(OdbcRowsetTest, AReaderOfWhatWasCommittedTakesNoSnapshotInsideATransaction) {
  odbc_.on(u"NOWAIT", {fails("42000", 1222, u"locked")});
  session_->begin();
  (void)odbc_.take_log();
  EXPECT_EQ(
      error_of([&] {
        (void)session_->open({.statement = kSales, .held_rows = ado::HeldRowReading::kAsCommitted});
      }).native(),
      1222);
  EXPECT_THAT(odbc_.take_log(), ElementsAre(kCommitted));
}

TEST_F(OdbcRowsetTest, ALockIsRefusedWhereItCannotBeHad) {
  odbc_.on(u"From A, B", {reports({sales()})});
  EXPECT_EQ(error_of([&] { (void)hold(u"Select * From A, B"); }).number(), 3251);
  odbc_.dbms = u"SQLite";
  const auto other = engine_.connect(ado::ConnectionString::parse(u"Provider=MSDASQL;DSN=x"));
  EXPECT_EQ(error_of([&] {
              (void)other->open({.statement = kSales, .lock = ado::LockType::kPessimistic});
            }).number(),
            3251);
}

TEST_F(OdbcRowsetTest, AMalformedStatementIsLeftToTheServerByALockingOpenToo) {
  odbc_.on(u"Selct", {fails("42000", 102, u"Incorrect syntax near 'Selct'.")});
  EXPECT_EQ(error_of([&] { (void)hold(u"Selct * From DW_Reports"); }).number(), -2147217900);
  EXPECT_TRUE(hold(u"Delete From DW_SEC_PC")->columns().empty());
}

// --- Writing -----------------------------------------------------------------------------------

TEST_F(OdbcRowsetTest, AnUpdateNamesTheAssignedColumnsAndFindsTheRowByItsKey) {
  session_->begin();
  const auto held = hold();
  ado::RowBuffer rows(4);
  const auto row = first_row(*held, rows);
  (void)odbc_.take_log();
  const Variant stamp = Text(u"DESK-1 - now");
  const Variant title = Null{};
  held->update(row, {{{2, &stamp}, {1, &title}}});
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"keys [] [] [DW_Reports]",
                          u"exec UPDATE DW_Reports SET [SoftLock] = ?, [Title] = ? WHERE "
                          u"[ReportName] = ? <- 'DESK-1 - now', null, 'Sales'"));
  // The key was learnt once; in this connection it stays.
  held->update(row, {{{2, &stamp}}});
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"exec UPDATE DW_Reports SET [SoftLock] = ? WHERE "
                                            u"[ReportName] = ? <- 'DESK-1 - now', 'Sales'"));
  held->update(row, {});
  EXPECT_THAT(odbc_.take_log(), IsEmpty());
}

TEST_F(OdbcRowsetTest, ATimeGoesOutAsItsColumnHoldsIt) {
  const auto typed = [](SQLSMALLINT code) { return odbc::SqlType{.code = code, .size = 23}; };
  odbc_.on(u"From T", {{.columns = {{u"Old", typed(SQL_TIMESTAMP)},
                                    {u"Day", typed(SQL_DATE)},
                                    {u"Number", typed(SQL_DOUBLE)}}}});
  const auto rowset = read(u"Select * From T");
  (void)odbc_.take_log();
  const Variant noon = Date{45000.5};
  rowset->insert({{{0, &noon}, {1, &noon}, {2, &noon}}});
  // A date for a date, a timestamp for all others.
  EXPECT_THAT(
      odbc_.take_log(),
      ElementsAre(u"exec INSERT INTO T ([Old], [Day], [Number]) VALUES (?, ?, ?) <- type 93, "
                  u"type 91, type 93"));
}

TEST_F(OdbcRowsetTest, NothingComesBehindTheEnd) {
  const auto rowset = read();
  ado::RowBuffer rows(4);
  rowset->fetch(rows, 10);
  rowset->fetch(rows, 10);
  EXPECT_EQ(rows.rows(), 1u);
}

TEST_F(OdbcRowsetTest, ANarrowKeyIsComparedAsANarrowTextSoThatItsIndexServes) {
  odbc_.set_key(u"DW_SEC_PC", {{u"dbo", u"MACNbr"}, {u"dbo", u"CompID"}});
  odbc_.on(u"From dbo.DW_SEC_PC",
           {{.columns = {{u"MACNbr", narrow_text(50)}, {u"CompID", small_integer()}},
             .rows = {{Text(u"00-1A"), std::int16_t{7}}}}});
  const auto rowset = read(u"Select * From dbo.DW_SEC_PC");
  ado::RowBuffer rows(2);
  const auto row = first_row(*rowset, rows);
  (void)odbc_.take_log();
  const Variant mac = Text(u"00-1B");
  rowset->update(row, {{{0, &mac}}});
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"keys [] [dbo] [DW_SEC_PC]",
                          u"exec UPDATE dbo.DW_SEC_PC SET [MACNbr] = ? WHERE [MACNbr] = CAST(? AS "
                          u"varchar(8000)) AND [CompID] = ? <- '00-1B', '00-1A', 7"));
}

TEST_F(OdbcRowsetTest, AnInsertNamesTheAssignedColumns) {
  const auto rowset = read();
  (void)odbc_.take_log();
  const Variant name = Text(u"Stock");
  const Variant file = Bytes(10);
  rowset->insert({{{0, &name}, {3, &file}}});
  rowset->insert({});
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName], [Report_Binary]) VALUES (?, "
                          u"?) <- 'Stock', 10 bytes",
                          u"exec INSERT INTO DW_Reports DEFAULT VALUES"));
}

TEST_F(OdbcRowsetTest, ARowThatIsNoLongerThereIsToldByTheCountOfRows) {
  const auto rowset = read();
  ado::RowBuffer rows(4);
  const auto row = first_row(*rowset, rows);
  const Variant title = Text(u"New");
  const auto update = [&] { rowset->update(row, {{{1, &title}}}); };
  Reply none;
  none.row_count = 0;
  odbc_.on(u"UPDATE", {none});
  EXPECT_EQ(error_of(update).number(), -2147217864);
  Reply no_data;
  no_data.no_data = true;
  odbc_.on(u"UPDATE", {no_data});
  EXPECT_EQ(error_of(update).number(), -2147217864);
  Reply unknown;
  unknown.row_count = -1;
  odbc_.on(u"UPDATE", {unknown});
  update();
}

TEST_F(OdbcRowsetTest, ATableWithoutPrimaryKeyIsWrittenByItsUniqueColumns) {
  odbc_.set_key(u"DW_Reports", {});
  odbc_.set_unique(u"DW_Reports", {u"REPORTNAME"});
  const auto rowset = read();
  ado::RowBuffer rows(4);
  const auto row = first_row(*rowset, rows);
  (void)odbc_.take_log();
  const Variant title = Text(u"New");
  rowset->update(row, {{{1, &title}}});
  EXPECT_EQ(odbc_.take_log().back(),
            u"exec UPDATE DW_Reports SET [Title] = ? WHERE [ReportName] = ? <- 'New', 'Sales'");
}

TEST_F(OdbcRowsetTest, AKeyIsThatOfOneSchemaAlone) {
  odbc_.set_key(u"DW_Reports", {{u"dbo", u"ReportName"}, {u"old", u"Title"}});
  const auto rowset = read();
  ado::RowBuffer rows(4);
  const auto row = first_row(*rowset, rows);
  const Variant title = Text(u"New");
  rowset->update(row, {{{1, &title}}});
  EXPECT_EQ(odbc_.take_log().back(),
            u"exec UPDATE DW_Reports SET [Title] = ? WHERE [ReportName] = ? <- 'New', 'Sales'");
}

TEST_F(OdbcRowsetTest, TheKeysOfTheMaintainedTablesAreKnownWhereTheCatalogIsSilentOrRefuses) {
  odbc_.set_key(u"DW_Reports", {});
  for (const bool refuses : {false, true}) {
    const auto session =
        engine_.connect(ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=h;User ID=u"));
    if (refuses) odbc_.catalog_error = odbc::Diagnostic{"42000", 2812, u"no such procedure"};
    const auto rowset = session->open({.statement = u"Select * From dbo.DW_REPORTS"});
    ado::RowBuffer rows(4);
    const auto row = first_row(*rowset, rows);
    const Variant title = Text(u"New");
    rowset->update(row, {{{1, &title}}});
    EXPECT_EQ(
        odbc_.take_log().back(),
        u"exec UPDATE dbo.DW_REPORTS SET [Title] = ? WHERE [ReportName] = ? <- 'New', 'Sales'");
  }
}

TEST_F(OdbcRowsetTest, ADriverThatFailsToListTheKeyFailsTheUpdate) {
  odbc_.catalog_error = odbc::Diagnostic{"HY001", 0, u"no memory"};
  const auto rowset = read();
  ado::RowBuffer rows(4);
  const auto row = first_row(*rowset, rows);
  const Variant title = Text(u"New");
  EXPECT_EQ(error_of([&] { rowset->update(row, {{{1, &title}}}); }).description(), u"no memory");
}

TEST_F(OdbcRowsetTest, ARowThatCannotBeIdentifiedIsNotWritten) {
  odbc_.on(u"From Old", {reports({sales()})});
  const auto rowset = read(u"Select * From Old");
  ado::RowBuffer rows(4);
  const auto row = first_row(*rowset, rows);
  const Variant title = Text(u"New");
  (void)odbc_.take_log();
  EXPECT_EQ(error_of([&] {
              rowset->update(row, {{{1, &title}}});
            }).description(),
            u"The table Old has no key: a row of it cannot be identified for updating.");
  odbc_.set_key(u"Old", {{u"dbo", u"Elsewhere"}});
  EXPECT_EQ(error_of([&] {
              rowset->update(row, {{{1, &title}}});
            }).description(),
            u"The statement does not read the key column Elsewhere: a row cannot be identified for "
            u"updating.");
  for (const Text& line : odbc_.take_log()) EXPECT_TRUE(line.starts_with(u"keys "));

  odbc_.on(u"From A, B", {reports({sales()})});
  const auto joined = read(u"Select * From A, B");
  EXPECT_EQ(error_of([&] { joined->update(row, {{{1, &title}}}); }).number(), 3251);
  EXPECT_EQ(error_of([&] { joined->insert({{{1, &title}}}); }).number(), 3251);
}

TEST_F(OdbcRowsetTest, LongValuesGoOutInPieces) {
  const auto rowset = read();
  const Variant file = Bytes(2'500'000);
  const Variant title = Text(5000, u'x');
  (void)odbc_.take_log();
  rowset->insert({{{1, &title}, {3, &file}}});
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([Title], [Report_Binary]) VALUES (?, ?) "
                          u"<- 10000 bytes in pieces, 2500000 bytes in pieces"));
  EXPECT_THAT(odbc_.put_sizes, ElementsAre(10000u, 1048576u, 1048576u, 402848u));
}

TEST_F(OdbcRowsetTest, AStatementThatFailsAmongItsPiecesIsCancelled) {
  const auto rowset = read();
  const Variant file = Bytes(2'500'000);
  odbc_.put_error = Diagnostic{"HY001", 0, u"no room"};
  (void)odbc_.take_log();
  EXPECT_EQ(error_of([&] { rowset->insert({{{3, &file}}}); }).description(), u"no room");
  EXPECT_THAT(odbc_.take_log(), ElementsAre(u"cancel"));
}

// --- One statement at a time -------------------------------------------------------------------

TEST_F(OdbcRowsetTest, RowsOnTheWayAreTakenInBeforeTheNextStatement) {
  odbc_.on(u"From DW_SEC_COMP",
           {{.columns = {{u"CompID", small_integer()}},
             .rows = {{std::int16_t{1}}, {std::int16_t{2}}, {std::int16_t{3}}}}});
  const auto rowset = session_->open({.statement = u"Select CompID From DW_SEC_COMP"});
  ado::RowBuffer rows(1);
  rowset->fetch(rows, 1);
  session_->execute(u"DELETE FROM T");
  rowset->fetch(rows, 1);
  rowset->fetch(rows, 10);
  ASSERT_EQ(rows.rows(), 3u);
  std::vector<ado::Cell> cell(1);
  rows.read_row(2, cell);
  EXPECT_EQ(cell[0].to_variant(), Variant(std::int16_t{3}));
}

TEST_F(OdbcRowsetTest, AnErrorOfRowsOnTheWayIsToldWhereTheyAreFetched) {
  Reply reply = reports({sales()});
  reply.fetch_error = Diagnostic{"42000", 1222, u"locked"};
  odbc_.on(u"From DW_Reports", {reply});
  const auto rowset = read();
  session_->execute(u"DELETE FROM T");
  ado::RowBuffer rows(4);
  EXPECT_EQ(error_of([&] { rowset->fetch(rows, 10); }).native(), 1222);
  EXPECT_EQ(rows.rows(), 1u);
}

TEST_F(OdbcRowsetTest, ADeadlockMetOnTheWayStopsTheNextStatement) {
  Reply reply = reports({sales()});
  reply.fetch_error = Diagnostic{"40001", 1205, u"deadlock victim"};
  odbc_.on(u"From DW_Reports", {reply});
  session_->begin();
  const auto rowset = read();
  (void)odbc_.take_log();
  EXPECT_THROW(session_->execute(u"DELETE FROM T"), ado::AdoError);
  EXPECT_THROW(session_->commit(), ado::AdoError);
  EXPECT_THAT(odbc_.take_log(), IsEmpty());
  session_->rollback();
}

TEST_F(OdbcRowsetTest, ARowsetThatIsGivenUpHalfWayLeavesTheConnectionFree) {
  auto rowset = read();
  rowset.reset();
  session_->execute(u"DELETE FROM T");
}

}  // namespace
}  // namespace tarnwick::odbc_test
