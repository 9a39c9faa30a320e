#include "engines/odbc/result.h"

#include <gtest/gtest.h>

#include "tests/engines/odbc/errors.h"
#include "tests/engines/odbc/scripted_odbc.h"

namespace tarnwick::odbc_test {
namespace {

using odbc::Diagnostic;
using odbc::Handle;
using odbc::Result;

class OdbcResultTest : public testing::Test {
 protected:
  /// The result of a statement that is answered so.
  std::unique_ptr<Result> run(const Reply& reply) {
    odbc_.on(u"SELECT", {reply});
    Handle statement = Handle::make(SQL_HANDLE_STMT, connection_);
    const TextView text = u"SELECT";
    statement.check(
        odbc_.exec_direct(statement.get(), odbc::wide(text), static_cast<SQLINTEGER>(text.size())));
    return std::make_unique<Result>(std::move(statement));
  }

  /// The values of the only row of such a statement.
  std::vector<Variant> row_of(const std::vector<ScriptedColumn>& columns,
                              const std::vector<Variant>& values) {
    const auto result = run({.columns = columns, .rows = {values}});
    ado::RowBuffer rows(columns.size());
    result->read(rows, odbc::kAllRows);
    EXPECT_EQ(rows.rows(), 1u);
    std::vector<ado::Cell> cells(columns.size());
    rows.read_row(0, cells);
    std::vector<Variant> read;
    for (const ado::Cell& cell : cells) read.push_back(cell.to_variant());
    return read;
  }

  ScriptedOdbc odbc_;
  Handle environment_ = Handle::environment(odbc_);
  Handle connection_ = Handle::make(SQL_HANDLE_DBC, environment_);
};

Text pattern(std::size_t size) {
  Text text(size, u'\0');
  for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char16_t>(u'!' + i % 1000);
  return text;
}

Bytes byte_pattern(std::size_t size) {
  ByteBuffer bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i * 7 + i / 251);
  return bytes;
}

TEST_F(OdbcResultTest, RowsComeInBlocksWhoseMemoryIsBounded) {
  Reply reply{.columns = {{u"a", small_integer()}, {u"b", wide_text(50)}}};
  for (std::int16_t i = 0; i < 2500; ++i) reply.rows.push_back({i, decimal(i)});
  const auto result = run(reply);
  ado::RowBuffer rows(2);
  result->read(rows, 7);
  EXPECT_EQ(rows.rows(), 7u);
  result->read(rows, odbc::kAllRows);
  ASSERT_EQ(rows.rows(), 2500u);
  std::vector<ado::Cell> cells(2);
  for (std::int16_t i = 0; i < 2500; ++i) {
    rows.read_row(static_cast<std::size_t>(i), cells);
    EXPECT_EQ(cells[0].to_variant(), Variant(i));
    EXPECT_EQ(cells[1].to_variant(), Variant(decimal(i)));
  }
  EXPECT_EQ(odbc_.largest_array, 1000u);

  odbc_.largest_array = 0;
  const auto wide = run({.columns = {{u"a", wide_text(4000)}, {u"b", wide_text(4000)}},
                         .rows = {{Text(u"x"), Null{}}}});
  wide->read(rows, odbc::kAllRows);
  EXPECT_GT(odbc_.largest_array, 1u);
  EXPECT_LE(odbc_.largest_array * 16004, std::size_t{256} << 10);
}

TEST_F(OdbcResultTest, ColumnsBehindALongOneAreReadInTheirOrder) {
  const Text text = pattern(300'000);
  const Bytes bytes = byte_pattern(3'000'001);
  const std::vector<Variant> values{std::int16_t{-5}, text,   Text(u"short"), bytes,
                                    std::int16_t{6},  Null{}, Null{},         Null{}};
  EXPECT_TRUE(row_of({{u"a", small_integer()},
                      {u"b", long_text()},
                      {u"c", wide_text(10)},
                      {u"d", long_bytes()},
                      {u"e", small_integer()},
                      {u"f", long_text()},
                      {u"g", long_bytes()},
                      {u"h", wide_text(10)}},
                     values) == values);
  EXPECT_EQ(odbc_.largest_array, 1u);
}

TEST_F(OdbcResultTest, LongValuesOfEveryLengthAroundAPartAreWhole) {
  for (const bool hidden : {false, true}) {
    odbc_.hides_lengths = hidden;
    for (const std::size_t size :
         {0u, 1u, 32766u, 32767u, 32768u, 65535u, 65536u, 65537u, 131072u}) {
      SCOPED_TRACE(size);
      const std::vector<Variant> values{pattern(size), byte_pattern(size)};
      EXPECT_TRUE(row_of({{u"a", long_text()}, {u"b", long_bytes()}}, values) == values);
    }
  }
}

TEST_F(OdbcResultTest, ATextMayHoldNulCharacters) {
  Text text = pattern(100'000);
  text[5] = u'\0';
  text[40'000] = u'\0';
  for (const bool hidden : {false, true}) {
    odbc_.hides_lengths = hidden;
    EXPECT_TRUE(row_of({{u"a", long_text()}}, {text}) == std::vector<Variant>{text});
  }
}

TEST_F(OdbcResultTest, APartThatIsShorterThanItsRoomLosesNothing) {
  odbc_.short_by = 1;
  const Text text = pattern(100'000);
  EXPECT_TRUE(row_of({{u"a", long_text()}}, {text}) == std::vector<Variant>{text});
}

TEST_F(OdbcResultTest, AValueThatTheDriverCutOffIsAnError) {
  const auto result = run({.columns = {{u"a", wide_text(3)}}, .rows = {{Text(u"four")}}});
  ado::RowBuffer rows(1);
  EXPECT_EQ(error_of([&] { result->read(rows, odbc::kAllRows); }).description(),
            u"The ODBC driver returned a longer value than it described.");
  EXPECT_EQ(rows.rows(), 0u);
}

TEST_F(OdbcResultTest, AnErrorBehindRowsIsThrownWhetherTheCallOrTheRowTellsOfIt) {
  for (const bool by_status : {false, true}) {
    odbc_.fails_by_row_status = by_status;
    Reply reply{.columns = {{u"a", small_integer()}}, .rows = {{std::int16_t{1}}}};
    reply.fetch_error = Diagnostic{"42000", 1222, u"locked"};
    const auto result = run(reply);
    ado::RowBuffer rows(1);
    EXPECT_EQ(error_of([&] { result->read(rows, odbc::kAllRows); }).native(), 1222) << by_status;
  }
}

TEST_F(OdbcResultTest, AnErrorOfALaterResultIsThrownAtTheEndOfTheRows) {
  Reply reply{.columns = {{u"a", small_integer()}}, .rows = {{std::int16_t{1}}}};
  reply.later_error = Diagnostic{"42000", 50000, u"raised"};
  const auto result = run(reply);
  ado::RowBuffer rows(1);
  EXPECT_EQ(error_of([&] { result->read(rows, odbc::kAllRows); }).native(), 50000);
}

TEST_F(OdbcResultTest, ALongColumnNameArrivesWhole) {
  const Text name(1000, u'n');
  const auto result = run({.columns = {{name, small_integer()}}});
  EXPECT_EQ(result->columns()[0].name, name);
}

}  // namespace
}  // namespace tarnwick::odbc_test
