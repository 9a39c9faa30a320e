#include "engines/odbc/insert_block.h"

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

/// A session that loads a table of three columns.
class InsertBlockTest : public testing::Test {
 protected:
  void SetUp() override {
    odbc_.on(u"From DW_Reports", {{.columns = {{u"ReportName", wide_text(128)},
                                               {u"ImageIndex", small_integer()},
                                               {u"Report_Binary", long_bytes()}}}});
    session_ =
        engine_.connect(ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=h;User ID=u"));
  }

  void begin_load() {
    session_->begin_load();
    table_ = session_->open({.statement = u"Select * From DW_Reports Where 1 = 0"});
    (void)odbc_.take_log();
  }
  void insert(const Variant& name, const Variant& image) {
    table_->insert({{{0, &name}, {1, &image}}});
  }
  void insert(const Variant& name) { table_->insert({{{0, &name}}}); }
  /// The statements and their parameters, without begin and end of the transaction.
  std::vector<Text> sent() {
    std::vector<Text> lines;
    for (Text& line : odbc_.take_log()) {
      if (line.starts_with(u"exec INSERT")) lines.push_back(std::move(line));
    }
    return lines;
  }

  ScriptedOdbc odbc_;
  odbc::OdbcEngine engine_{odbc_};
  std::unique_ptr<ado::EngineSession> session_;
  std::unique_ptr<ado::Rowset> table_;
};

const Variant kNull = Null{};
constexpr std::int16_t kTen = 10;

TEST_F(InsertBlockTest, RowsOfALoadGoOutTogetherBeforeTheCommit) {
  begin_load();
  insert(Text(u"Sales"), kTen);
  insert(Text(u"Stock"), kTen);
  EXPECT_THAT(odbc_.take_log(), IsEmpty());
  session_->commit();
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName], [ImageIndex]) VALUES "
                          u"(?, ?), (?, ?) <- 'Sales', 10, 'Stock', 10",
                          u"commit", u"autocommit on"));
}

TEST_F(InsertBlockTest, TheyGoOutBeforeAnyOtherStatement) {
  begin_load();
  insert(Text(u"Sales"));
  insert(Text(u"Stock"));
  session_->execute(u"DELETE FROM T");
  EXPECT_THAT(odbc_.take_log(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName]) VALUES (?), (?) <- "
                          u"'Sales', 'Stock'",
                          u"exec DELETE FROM T"));
}

TEST_F(InsertBlockTest, OutsideALoadEachRowGoesOutAtOnce) {
  session_->begin();
  table_ = session_->open({.statement = u"Select * From DW_Reports Where 1 = 0"});
  insert(Text(u"Sales"));
  EXPECT_EQ(sent().size(), 1u);
  session_->commit();
  insert(Text(u"Stock"));
  EXPECT_EQ(sent().size(), 1u);
  begin_load();
  session_->commit();
  insert(Text(u"Stores"));
  EXPECT_EQ(sent().size(), 1u);
}

TEST_F(InsertBlockTest, WhatIsRolledBackIsNotSent) {
  begin_load();
  insert(Text(u"Sales"));
  session_->rollback();
  session_->execute(u"DELETE FROM T");
  EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(InsertBlockTest, ARowWithOtherColumnsBeginsABlockOfItsOwn) {
  begin_load();
  insert(Text(u"Sales"));
  insert(Text(u"Stock"), kTen);
  session_->commit();
  EXPECT_EQ(sent().size(), 2u);
}

TEST_F(InsertBlockTest, SoDoesOneOfAnotherTable) {
  odbc_.on(u"From Other", {{.columns = {{u"ReportName", wide_text(128)}}}});
  begin_load();
  const auto other = session_->open({.statement = u"Select * From Other Where 1 = 0"});
  insert(Text(u"Sales"));
  const Variant name = Text(u"Sales");
  other->insert({{{0, &name}}});
  session_->commit();
  EXPECT_THAT(sent(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName]) VALUES (?) <- 'Sales'",
                          u"exec INSERT INTO Other ([ReportName]) VALUES (?) <- 'Sales'"));
}

TEST_F(InsertBlockTest, ARowOfDefaultsGoesOutAlone) {
  begin_load();
  insert(Text(u"Sales"));
  table_->insert({});
  EXPECT_THAT(sent(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName]) VALUES (?) <- 'Sales'",
                          u"exec INSERT INTO DW_Reports DEFAULT VALUES"));
  session_->commit();
}

TEST_F(InsertBlockTest, SoDoesOneWithAValueOfAnotherType) {
  begin_load();
  insert(Text(u"Sales"), kTen);
  insert(Text(u"Stock"), Text(u"ten"));
  session_->commit();
  EXPECT_EQ(sent().size(), 2u);
}

TEST_F(InsertBlockTest, ANullGoesWithEveryType) {
  begin_load();
  insert(Text(u"Sales"), kNull);
  insert(Text(u"Stock"), kTen);
  insert(kNull, kNull);
  session_->commit();
  EXPECT_THAT(sent(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName], [ImageIndex]) VALUES "
                          u"(?, ?), (?, ?), (?, ?) <- 'Sales', null, 'Stock', 10, null, null"));
}

TEST_F(InsertBlockTest, AStatementHasAThousandParametersAtMost) {
  begin_load();
  for (int i = 0; i < 1001; ++i) insert(Text(u"Sales"), kTen);
  EXPECT_EQ(sent().size(), 2u);
  session_->commit();
  EXPECT_EQ(sent().size(), 1u);
}

TEST_F(InsertBlockTest, ALongRowGoesOutAloneAndBehindThoseBeforeIt) {
  begin_load();
  insert(Text(u"Sales"));
  const Variant name = Text(u"Stock");
  const Variant file = Bytes(2'500'000);
  table_->insert({{{0, &name}, {2, &file}}});
  EXPECT_THAT(sent(),
              ElementsAre(u"exec INSERT INTO DW_Reports ([ReportName]) VALUES (?) <- 'Sales'",
                          u"exec INSERT INTO DW_Reports ([ReportName], [Report_Binary]) VALUES "
                          u"(?, ?) <- 'Stock', 2500000 bytes in pieces"));
}

TEST_F(InsertBlockTest, RowsAreNotGatheredBeyondAMegabyte) {
  begin_load();
  const Text name(100'000, u'x');
  for (int i = 0; i < 6; ++i) insert(name);
  EXPECT_EQ(sent().size(), 1u);
}

TEST_F(InsertBlockTest, ARefusalIsToldByWhoeverSendsAndSendsNothingTwice) {
  begin_load();
  odbc_.on(u"INSERT", {{.error = Diagnostic{"23000", 2627, u"there already"}}});
  insert(Text(u"Sales"));
  EXPECT_EQ(error_of([&] { session_->commit(); }).native(), 2627);
  EXPECT_EQ(sent().size(), 1u);
  session_->rollback();
  EXPECT_THAT(sent(), IsEmpty());
}

}  // namespace
}  // namespace tarnwick::odbc_test
