#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

class Reading : public SessionTest {
 protected:
  void SetUp() override { session_ = open_session(); }
  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(Reading, TypesValuesByTheDeclaredTypeWhereTheyFitIt) {
  database_.run(
      "CREATE TABLE T (a BIT, b BOOLEAN, c SMALLINT, d INT, e DATETIME, f DATE, g DATETIME REAL, "
      "h FLOAT, i NVARCHAR(5), j BLOB);"
      "INSERT INTO T VALUES (1, 0, -7, 70000, 45000.5, 45000, 45000, 2, 'x', x'0102')");
  const auto rows = read(*session_, u"Select * From T");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.value(u"a"), Variant(true));
  EXPECT_EQ(rows.value(u"b"), Variant(false));
  EXPECT_EQ(rows.value(u"c"), Variant(std::int16_t{-7}));
  EXPECT_EQ(rows.value(u"d"), Variant(std::int32_t{70000}));
  EXPECT_EQ(rows.value(u"e"), Variant(Date{45000.5}));
  EXPECT_EQ(rows.value(u"f"), Variant(Date{45000.0}));
  EXPECT_EQ(rows.value(u"g"), Variant(Date{45000.0}));
  EXPECT_EQ(rows.value(u"h"), Variant(2.0));
  EXPECT_EQ(rows.value(u"i"), Variant(Text(u"x")));
  EXPECT_EQ(rows.value(u"j"), Variant(Bytes{std::byte{1}, std::byte{2}}));
}

TEST_F(Reading, TypesValuesByThemselvesWhereTheyDoNot) {
  database_.run(
      "CREATE TABLE T (a BIT, c SMALLINT, d INT, e DATETIME, f SMALLINT);"
      "INSERT INTO T VALUES ('yes', 70000, 5000000000, 'today', NULL)");
  const auto rows = read(*session_, u"Select *, 1.5 x, 'y' y, 5 z, -5000000000 w From T");
  EXPECT_EQ(rows.value(u"a"), Variant(Text(u"yes")));
  EXPECT_EQ(rows.value(u"c"), Variant(std::int32_t{70000}));
  EXPECT_EQ(rows.value(u"d"), Variant(std::int64_t{5000000000}));
  EXPECT_EQ(rows.value(u"e"), Variant(Text(u"today")));
  EXPECT_EQ(rows.value(u"f"), Variant(Null{}));
  EXPECT_EQ(rows.value(u"x"), Variant(1.5));
  EXPECT_EQ(rows.value(u"y"), Variant(Text(u"y")));
  EXPECT_EQ(rows.value(u"z"), Variant(std::int32_t{5}));
  EXPECT_EQ(rows.value(u"w"), Variant(std::int64_t{-5000000000}));
}

TEST_F(Reading, ShowsAForeignTextWithANulWhole) {
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'a' || char(0) || 'b')");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"a\0b", 3)));
}

TEST_F(Reading, ShowsMalformedUtf8AsReplacementCharacters) {
  database_.run(
      "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', CAST(x'61FF' AS TEXT))");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"a\uFFFD")));
}

TEST_F(Reading, CopesWithTablesWithoutAKey) {
  database_.run("CREATE TABLE T (a, b); INSERT INTO T VALUES (1, 'x'), (1, 'x')");
  const auto rows = read(*session_, u"Select * From T");
  EXPECT_EQ(rows.size(), 2u);
  EXPECT_EQ(error_of([&] {
              rows.update({{u"b", Text(u"y")}});
              return 0;
            }).description(),
            u"The row cannot be updated: the columns that were read do not hold the whole primary "
            u"key of one table.");
  rows.insert({{u"b", Text(u"z")}});
  EXPECT_EQ(database_.value("SELECT count(*) FROM T WHERE b = 'z' AND a IS NULL"), "1");
}

TEST_F(Reading, CopesWithRecordsOfNoTableOrOfTwo) {
  database_.run(
      "INSERT INTO DW_Reports (ReportName) VALUES ('Sales');"
      "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  const auto constant = read(*session_, u"Select 1 x");
  EXPECT_EQ(error_of([&] {
              constant.insert({{u"x", std::int32_t{1}}});
              return 0;
            }).number(),
            3251);
  const auto joined = read(*session_, u"Select ReportName, CompID From DW_Reports, DW_SEC_COMP");
  EXPECT_EQ(joined.size(), 1u);
  EXPECT_EQ(error_of([&] {
              joined.update({{u"ReportName", Text(u"x")}});
              return 0;
            }).number(),
            3251);
  const auto counted = read(*session_, u"Select ReportName, 1 x From DW_Reports");
  EXPECT_EQ(error_of([&] {
              counted.update({{u"x", std::int32_t{2}}});
              return 0;
            }).description(),
            u"The column 'x' cannot be written: it is no column of the one table that is read.");
}

TEST_F(Reading, AnswersALookUpHoweverLongItIsAndHoweverManyThereAre) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  Text columns = u"Title";
  for (int i = 0; i < 150; ++i) {
    const auto row = read(
        *session_, join({u"Select ", columns, u" From DW_Reports Where ReportName = 'Sales'"}));
    ASSERT_EQ(row.size(), 1u);
    ASSERT_EQ(row.cells().size(), static_cast<std::size_t>(i) + 1);
    ASSERT_EQ(row.cells().back().to_variant(), i == 0 ? Variant(Text(u"Old")) : Variant(Null{}));
    columns += u", Author";
  }
}

TEST_F(Reading, HandsRowsOutInPieces) {
  database_.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 10) "
      "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) SELECT i, 0, 2 FROM n");
  const auto rowset = session_->open({.statement = u"Select CompID From DW_SEC_COMP Order By 1"});
  std::vector<std::size_t> sizes;
  std::vector<std::int64_t> ids;
  for (const std::size_t limit : {1u, 4u, 0u, 100u, 100u}) {
    ado::RowBuffer rows(1);
    rowset->fetch(rows, limit);
    sizes.push_back(rows.rows());
    for (std::size_t row = 0; row < rows.rows(); ++row) {
      ado::Cell cell;
      rows.read_row(row, {&cell, 1});
      ids.push_back(cell.integer);
    }
  }
  EXPECT_THAT(sizes, ::testing::ElementsAre(1u, 4u, 0u, 5u, 0u));
  EXPECT_THAT(ids, ::testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10));
}

TEST_F(Reading, AddsToTheRowsThatTheCallerHas) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  auto rows = read(*session_, u"Select ReportName From DW_Reports");
  session_->open({.statement = u"Select ReportName From DW_Reports"})->fetch(rows.rows, kAll);
  EXPECT_EQ(rows.size(), 2u);
}

TEST_F(Reading, SaysThatColumnsHaveChangedSinceTheStatementWasOpened) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  const auto rowset = session_->open({.statement = kSales});
  database_.run("ALTER TABLE DW_Reports ADD COLUMN Extra");
  ado::RowBuffer rows(rowset->columns().size());
  EXPECT_EQ(error_of([&] {
              rowset->fetch(rows, 1);
              return 0;
            }).description(),
            u"The table's columns have changed since the statement was opened.");
  EXPECT_EQ(read(*session_, kSales).rowset->columns().size(), 17u);
}

TEST_F(Reading, SeesWhatAnotherProgramHasWritten) {
  auto program = database_.open_plainly();
  program.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'One')");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"One")));
  program.run("UPDATE DW_Reports SET Title = 'Two'");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"Two")));
}

TEST_F(Reading, IsNotKeptWaitingByAProgramThatIsReadingOrWriting) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'One')");
  auto program = database_.open_plainly();
  program.run("BEGIN IMMEDIATE; UPDATE DW_Reports SET Title = 'Two'");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"One")));
  const auto error = error_of([&] {
    session_->execute(u"Delete From DW_Reports");
    return 0;
  });
  EXPECT_EQ(error.native(), 1222);
  program.run("COMMIT");
  session_->execute(u"Delete From DW_Reports");
}

TEST_F(Reading, GoesOnAfterAStatementThatFailedWhileItRan) {
  const auto error =
      error_of([&] { return read(*session_, u"Select abs(-9223372036854775808) x"); });
  EXPECT_EQ(error.number(), kCommandError);
  EXPECT_EQ(error.description(), u"integer overflow");
  EXPECT_EQ(read(*session_, u"Select 1").size(), 1u);
}

}  // namespace
}  // namespace tarnwick::sqlite
