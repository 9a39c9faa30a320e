#include "ado/row_buffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tarnwick::ado {
namespace {

std::vector<Variant> row_of(const RowBuffer& buffer, std::size_t row) {
  std::vector<Cell> cells(buffer.columns());
  buffer.read_row(row, cells);
  std::vector<Variant> values;
  for (const Cell& cell : cells) values.push_back(cell.to_variant());
  return values;
}

Cell cell(const RowBuffer& buffer, std::size_t row, std::size_t column) {
  return RowBuffer::cell_at(buffer.place_of(row), column);
}

Bytes some_bytes(std::size_t size) {
  ByteBuffer bytes(size);
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<std::byte>(i * 31 % 253);
  return bytes;
}

TEST(RowBufferTest, AValueOfEveryKindComesBackAsItWas) {
  RowBuffer buffer(10);
  buffer.add_null();
  buffer.add_bool(true);
  buffer.add_int16(std::numeric_limits<std::int16_t>::min());
  buffer.add_int32(std::numeric_limits<std::int32_t>::min());
  buffer.add_int64(std::numeric_limits<std::int64_t>::min());
  buffer.add_double(-0.1);
  buffer.add_date(Date{45000.25});
  buffer.add_utf8("na\xC3\xAFve");
  buffer.add_utf16(u"\U0001F5C4 text");
  buffer.add_bytes(some_bytes(3));
  buffer.end_row();
  ASSERT_EQ(buffer.rows(), 1u);
  const std::vector<Variant> expected{Null{},
                                      true,
                                      std::int16_t{-32768},
                                      std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int64_t>::min(),
                                      -0.1,
                                      Date{45000.25},
                                      Text(u"naïve"),
                                      Text(u"\U0001F5C4 text"),
                                      some_bytes(3)};
  EXPECT_EQ(row_of(buffer, 0), expected);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(cell(buffer, 0, i).to_variant(), expected[i]) << "alone, column " << i;
  }
}

TEST(RowBufferTest, OneValueIsFoundBehindThoseOfEveryKind) {
  RowBuffer buffer(5);
  for (int row = 0; row < 2; ++row) {
    buffer.add_bytes(some_bytes(std::size_t{100} << 10));
    buffer.add_utf8("text");
    buffer.add_null();
    buffer.add_double(0.5);
    buffer.add_int16(static_cast<std::int16_t>(row));
    buffer.end_row();
  }
  EXPECT_EQ(cell(buffer, 0, 1).to_variant(), Variant(Text(u"text")));
  EXPECT_TRUE(cell(buffer, 1, 2).is_null());
  EXPECT_EQ(cell(buffer, 1, 4).to_variant(), Variant(std::int16_t{1}));
  EXPECT_EQ(cell(buffer, 0, 0).bytes(), some_bytes(std::size_t{100} << 10));
}

TEST(RowBufferTest, ARowOfAnotherBufferIsCopiedWithValuesOfEveryKind) {
  RowBuffer from(10);
  from.add_null();
  from.add_bool(true);
  from.add_int16(-2);
  from.add_int32(70'000);
  from.add_int64(std::int64_t{1} << 40);
  from.add_double(0.5);
  from.add_date(Date{45000.25});
  from.add_utf8("a");
  from.add_utf16(u"b");
  from.add_bytes(some_bytes(200));
  from.end_row();
  RowBuffer to(10);
  to.add_row(from, 0);
  to.add_row(from, 0);
  ASSERT_EQ(to.rows(), 2u);
  EXPECT_EQ(row_of(to, 1), row_of(from, 0));
  from.clear();
  EXPECT_EQ(row_of(to, 0), row_of(to, 1)) << "a copy stands for itself";
}

TEST(RowBufferTest, EmptyTextAndBytesAreNotNull) {
  RowBuffer buffer(3);
  buffer.add_utf8("");
  buffer.add_utf16(u"");
  buffer.add_bytes(Bytes());
  buffer.end_row();
  EXPECT_EQ(row_of(buffer, 0), (std::vector<Variant>{Text(), Text(), Bytes()}));
}

TEST(RowBufferTest, LengthsOfOneToFourBytesAreKept) {
  for (const std::size_t size : {127u, 128u, 16'383u, 16'384u, 2'097'151u, 2'097'152u}) {
    RowBuffer buffer(2);
    buffer.add_bytes(some_bytes(size));
    buffer.add_int16(7);
    buffer.end_row();
    const auto row = row_of(buffer, 0);
    EXPECT_TRUE(row[0] == Variant(some_bytes(size))) << size;
    EXPECT_EQ(row[1], Variant(std::int16_t{7})) << size;
  }
}

TEST(RowBufferTest, RowsStayReadableWhileTheBufferGrows) {
  RowBuffer buffer(3);
  constexpr int kRows = 100'000;
  for (int i = 0; i < kRows; ++i) {
    buffer.add_int32(i);
    buffer.add_utf8("text number " + std::to_string(i));
    if (i % 3 == 0) {
      buffer.add_null();
    } else {
      buffer.add_bytes(some_bytes(static_cast<std::size_t>(i % 97)));
    }
    buffer.end_row();
  }
  ASSERT_EQ(buffer.rows(), static_cast<std::size_t>(kRows));
  std::vector<Cell> cells(3);
  for (int i = 0; i < kRows; ++i) {
    buffer.read_row(static_cast<std::size_t>(i), cells);
    ASSERT_EQ(cells[0].integer, i);
    ASSERT_EQ(cells[1].to_variant(), Variant(from_utf8("text number " + std::to_string(i))));
    ASSERT_EQ(cells[2].is_null(), i % 3 == 0);
  }
}

TEST(RowBufferTest, ARowOfLongValuesStaysTogether) {
  RowBuffer buffer(5);
  for (int i = 0; i < 3; ++i) {
    buffer.add_int32(i);
    buffer.add_bytes(some_bytes(3'000'000));
    buffer.add_utf16(Text(700'000, u'x'));
    buffer.add_bytes(some_bytes(10));
    buffer.add_null();
    buffer.end_row();
  }
  for (int i = 0; i < 3; ++i) {
    const auto row = row_of(buffer, static_cast<std::size_t>(i));
    EXPECT_EQ(row[0], Variant(i));
    EXPECT_TRUE(row[1] == Variant(some_bytes(3'000'000)));
    EXPECT_TRUE(row[2] == Variant(Text(700'000, u'x')));
    EXPECT_EQ(row[3], Variant(some_bytes(10)));
    EXPECT_EQ(row[4], Variant(Null{}));
  }
}

TEST(RowBufferTest, LongBytesAreSharedOnTheirWayInAndOut) {
  RowBuffer buffer(2);
  const Bytes value = some_bytes(100'000);
  buffer.add_bytes(value);
  buffer.add_int32(5);
  buffer.end_row();
  EXPECT_EQ(std::get<Bytes>(row_of(buffer, 0)[0]).data(), value.data());
  EXPECT_EQ(row_of(buffer, 0)[1], Variant(std::int32_t{5}));
  RowBuffer other(2);
  other.add_row(buffer, 0);
  buffer.clear();
  EXPECT_EQ(std::get<Bytes>(row_of(other, 0)[0]).data(), value.data());
}

TEST(RowBufferTest, LongBytesOfAnAbandonedRowGoWithIt) {
  RowBuffer buffer(1);
  for (const std::byte last : {std::byte{1}, std::byte{2}}) {
    buffer.add_bytes(Bytes(70'000, std::byte{9}));
    buffer.abandon_row();
    buffer.add_bytes(Bytes(70'000, last));
    buffer.end_row();
  }
  EXPECT_TRUE(row_of(buffer, 0)[0] == Variant(Bytes(70'000, std::byte{1})));
  EXPECT_TRUE(row_of(buffer, 1)[0] == Variant(Bytes(70'000, std::byte{2})));
}

TEST(RowBufferTest, AnAbandonedRowLeavesNoTrace) {
  RowBuffer buffer(2);
  buffer.add_int32(1);
  buffer.add_null();
  buffer.end_row();
  buffer.add_int32(2);
  buffer.abandon_row();
  buffer.add_int32(3);
  buffer.add_bool(false);
  buffer.end_row();
  ASSERT_EQ(buffer.rows(), 2u);
  EXPECT_EQ(row_of(buffer, 0), (std::vector<Variant>{std::int32_t{1}, Null{}}));
  EXPECT_EQ(row_of(buffer, 1), (std::vector<Variant>{std::int32_t{3}, false}));
}

TEST(RowBufferTest, AClearedBufferIsFilledAnew) {
  RowBuffer buffer(1);
  for (const std::size_t size : {5u, 200'000u, 3u, 2'000'000u, 2'000'000u, 1u}) {
    buffer.add_bytes(some_bytes(size));
    buffer.end_row();
    EXPECT_TRUE(row_of(buffer, 0)[0] == Variant(some_bytes(size)));
    buffer.clear();
    EXPECT_EQ(buffer.rows(), 0u);
  }
}

TEST(RowBufferTest, ABufferOfLongTextsThatWasClearedIsFilledAnew) {
  RowBuffer buffer(1);
  for (const std::size_t size : {5u, 200'000u, 3u, 2'000'000u, 2'000'000u, 1u}) {
    const std::string text(size, 'x');
    for (int row = 0; row < 3; ++row) {
      buffer.add_utf8(text);
      buffer.end_row();
    }
    EXPECT_TRUE(row_of(buffer, 2)[0] == Variant(from_utf8(text))) << size;
    buffer.clear();
    EXPECT_EQ(buffer.rows(), 0u);
  }
}

TEST(RowBufferTest, MalformedUtf8ReadsWithReplacementCharacters) {
  RowBuffer buffer(1);
  buffer.add_utf8("a\xFFz");
  buffer.end_row();
  EXPECT_EQ(row_of(buffer, 0)[0], Variant(Text(u"a\uFFFDz")));
}

TEST(CellTest, ACellOfAValueReadsAsThatValue) {
  for (const Variant& value :
       {Variant(Null{}), Variant(false), Variant(std::int16_t{-3}), Variant(std::int32_t{70'000}),
        Variant(std::int64_t{1} << 40), Variant(2.5), Variant(Date{1.5}), Variant(Text(u"żółw")),
        Variant(Text()), Variant(some_bytes(9)), Variant(Bytes())}) {
    EXPECT_EQ(Cell::of(value).to_variant(), value) << value.index();
  }
  EXPECT_TRUE(Cell::of(Empty{}).is_null());
}

}  // namespace
}  // namespace tarnwick::ado
