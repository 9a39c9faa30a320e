#include "tests/engines/odbc/sqlite_driver.h"

#include <gtest/gtest.h>

#include "engines/odbc/engine.h"
#include "engines/odbc/result.h"
#include "tests/engines/odbc/errors.h"

// The engine through the real driver manager and a real driver.

namespace tarnwick::odbc_test {
namespace {

using ado::AdoErrorNumber;

constexpr TextView kCreate =
    u"CREATE TABLE T (Name nvarchar(50) NOT NULL, Nr smallint NOT NULL, Total int, Active bit, "
    u"Seen datetime, Ratio float, Definition text, SoftLock nvarchar(100), Payload longvarbinary, "
    u"Version varbinary(8), PRIMARY KEY (Name, Nr))";
constexpr TextView kAll = u"Select * From T Order By Name, Nr";

class SqliteDriverTest : public testing::Test {
 protected:
  SqliteDriverTest() { session_->execute(kCreate); }

  std::unique_ptr<ado::EngineSession> connect() {
    return engine_.connect(ado::ConnectionString::parse(driver_.connection_string()));
  }
  std::unique_ptr<ado::Rowset> open(TextView statement = kAll) {
    return session_->open({.statement = statement,
                           .location = ado::CursorLocation::kClient,
                           .type = ado::CursorType::kStatic,
                           .lock = ado::LockType::kOptimistic});
  }
  /// All values of all rows.
  std::vector<std::vector<Variant>> rows(TextView statement = kAll) {
    const auto rowset = open(statement);
    ado::RowBuffer buffer(rowset->columns().size());
    rowset->fetch(buffer, odbc::kAllRows);
    std::vector<std::vector<Variant>> result(buffer.rows());
    std::vector<ado::Cell> cells(buffer.columns());
    for (std::size_t row = 0; row < buffer.rows(); ++row) {
      buffer.read_row(row, cells);
      for (const ado::Cell& cell : cells) result[row].push_back(cell.to_variant());
    }
    return result;
  }
  void insert(const std::vector<Variant>& values) {
    const auto rowset = open();
    std::vector<ado::Assignment> assigned;
    for (std::size_t i = 0; i < values.size(); ++i) assigned.push_back({i, &values[i]});
    rowset->insert(assigned);
  }

  SqliteDriver driver_;
  odbc::OdbcEngine engine_;
  std::unique_ptr<ado::EngineSession> session_ = connect();
};

Bytes bytes_of(std::size_t size) {
  ByteBuffer bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i * 7 + i / 251);
  return bytes;
}

TEST_F(SqliteDriverTest, ValuesOfEveryTypeRoundTrip) {
  Text definition;
  while (definition.size() < 200'000) definition += u"Select 'é', \U0001F5C4 ";
  const std::vector<Variant> values{Text(u"žluťoučký 'kůň'"),
                                    std::int16_t{-32768},
                                    std::int32_t{2147483647},
                                    true,
                                    Date{45284.75},
                                    0.375,
                                    definition,
                                    Text(u"\U0001F5C4"),
                                    bytes_of(20'000'003),
                                    bytes_of(8)};
  insert(values);
  const auto read = rows();
  ASSERT_EQ(read.size(), 1u);
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_TRUE(read[0][i] == values[i]) << i;
}

TEST_F(SqliteDriverTest, NullsRoundTripAndAreNotEmptyText) {
  insert({Text(), std::int16_t{1}, Null{}, Null{}, Null{}, Null{}, Text(), Null{}, Null{}, Null{}});
  const auto read = rows();
  ASSERT_EQ(read.size(), 1u);
  EXPECT_TRUE(read[0][0] == Variant(Text()));
  EXPECT_TRUE(read[0][6] == Variant(Text()));
  for (const std::size_t column : {2u, 3u, 4u, 5u, 7u, 8u, 9u}) {
    EXPECT_TRUE(is_null(read[0][column])) << column;
  }
}

TEST_F(SqliteDriverTest, ThousandsOfRowsComeInOrderWithAndWithoutLongColumns) {
  session_->execute(
      u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 3500) INSERT INTO "
      u"T (Name, Nr, Definition) SELECT 'name', i, 'text ' || i FROM n");
  for (const TextView statement :
       {u"Select Nr, Name From T Order By Nr", u"Select Nr, Definition From T Order By Nr"}) {
    const auto read = rows(statement);
    ASSERT_EQ(read.size(), 3500u);
    for (std::size_t i = 0; i < read.size(); ++i) {
      ASSERT_TRUE(read[i][0] == Variant(static_cast<std::int16_t>(i + 1))) << i;
    }
  }
  EXPECT_TRUE(rows(u"Select Definition From T Where Nr = 3500")[0][0] ==
              Variant(Text(u"text 3500")));
}

TEST_F(SqliteDriverTest, AnUpdateWritesTheAssignedColumnsOfItsRowAlone) {
  insert({Text(u"a"), std::int16_t{1}, std::int32_t{10}});
  insert({Text(u"a"), std::int16_t{2}, std::int32_t{20}});
  const auto rowset = open();
  ado::RowBuffer buffer(10);
  rowset->fetch(buffer, odbc::kAllRows);
  std::vector<ado::Cell> second(10);
  buffer.read_row(1, second);
  session_->execute(u"Update T Set Total = 21 Where Nr = 2");
  const Variant stamp = Text(u"DESK-1 - now");
  const Variant payload = bytes_of(3'000'000);
  rowset->update(second, {{{7, &stamp}, {8, &payload}}});
  const auto read = rows();
  EXPECT_TRUE(is_null(read[0][7]));
  EXPECT_TRUE(read[1][7] == stamp);
  EXPECT_TRUE(read[1][8] == payload);
  EXPECT_TRUE(read[1][2] == Variant(std::int32_t{21}));
}

TEST_F(SqliteDriverTest, ARowThatIsGoneCannotBeUpdated) {
  insert({Text(u"a"), std::int16_t{1}});
  const auto rowset = open();
  ado::RowBuffer buffer(10);
  rowset->fetch(buffer, 1);
  std::vector<ado::Cell> row(10);
  buffer.read_row(0, row);
  session_->execute(u"Delete From T");
  const Variant stamp = Text(u"x");
  EXPECT_EQ(error_of([&] {
              rowset->update(row, {{{7, &stamp}}});
            }).number(),
            number(AdoErrorNumber::kRowNotLocated));
}

TEST_F(SqliteDriverTest, ATransactionIsSeenByOthersWhenItIsCommittedAndNeverWhenRolledBack) {
  const auto other = connect();
  const auto count = [&] {
    const auto rowset = other->open({.statement = u"Select Count(*) As N From T"});
    ado::RowBuffer buffer(1);
    rowset->fetch(buffer, 1);
    std::vector<ado::Cell> cell(1);
    buffer.read_row(0, cell);
    return cell[0].to_variant();
  };
  const Variant none = count();
  session_->begin();
  insert({Text(u"a"), std::int16_t{1}});
  EXPECT_TRUE(count() == none);
  session_->rollback();
  EXPECT_TRUE(rows().empty());

  session_->begin();
  insert({Text(u"a"), std::int16_t{1}});
  session_->commit();
  EXPECT_FALSE(count() == none);
  insert({Text(u"a"), std::int16_t{2}});
  EXPECT_EQ(rows().size(), 2u);
}

TEST_F(SqliteDriverTest, TheEndOfASessionRollsBack) {
  session_->begin();
  insert({Text(u"a"), std::int16_t{1}});
  session_ = connect();
  EXPECT_TRUE(rows().empty());
}

TEST_F(SqliteDriverTest, RowsOnTheWayAreTakenInBeforeTheNextStatement) {
  for (std::int16_t i = 1; i <= 5; ++i) insert({Text(u"a"), i});
  const auto first = open();
  ado::RowBuffer buffer(10);
  first->fetch(buffer, 1);
  EXPECT_EQ(rows().size(), 5u);
  session_->execute(u"Delete From T");
  first->fetch(buffer, odbc::kAllRows);
  EXPECT_EQ(buffer.rows(), 5u);
}

TEST_F(SqliteDriverTest, AnErrorHasTheDriversTextAndNumberAndLeavesTheSessionUsable) {
  const auto error = error_of([&] { session_->execute(u"Selct"); });
  EXPECT_EQ(error.native(), 1);
  EXPECT_EQ(error.sqlstate(), "HY000");
  EXPECT_EQ(error.description(), u"[SQLite]near \"Selct\": syntax error (1)");
  EXPECT_THROW((void)open(u"Select * From Nothing"), ado::AdoError);
  EXPECT_TRUE(rows().empty());
}

TEST_F(SqliteDriverTest, ADriverThatIsNotInstalledIsNamedByTheDriverManager) {
  const auto error = error_of([&] {
    (void)engine_.connect(
        ado::ConnectionString::parse(u"Provider=MSDASQL;Driver={No Such Driver}"));
  });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kUnspecified));
  EXPECT_EQ(error.sqlstate(), "01000");
}

TEST_F(SqliteDriverTest, WithoutADriverForSqlServerAnOleDbStringSaysSo) {
  const auto error = error_of([&] {
    (void)engine_.connect(ado::ConnectionString::parse(u"Provider=SQLOLEDB;Data Source=h"));
  });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kProviderNotFound));
}

TEST_F(SqliteDriverTest, RowsCannotBeLockedOnAnotherServerThanSqlServer) {
  const auto error = error_of(
      [&] { (void)session_->open({.statement = kAll, .lock = ado::LockType::kPessimistic}); });
  EXPECT_EQ(error.number(), number(AdoErrorNumber::kFeatureNotAvailable));
}

}  // namespace
}  // namespace tarnwick::odbc_test
