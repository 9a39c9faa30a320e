#include "engines/sqlite/row_key.h"

#include <gtest/gtest.h>

#include <limits>

#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {
namespace {

const ByteRange kRegion = lock_region("DW_SEC_PC");

std::int64_t byte_of(const std::vector<StoredValue>& key) {
  std::vector<ado::Cell> cells;
  for (const auto& value : key) cells.push_back(cell_of(value));
  return lock_byte(kRegion, cells);
}

std::string text_of(const std::vector<StoredValue>& key) {
  std::vector<ado::Cell> cells;
  for (const auto& value : key) cells.push_back(cell_of(value));
  return key_text(cells);
}

std::string str(const char* text) { return text; }

TEST(RowKey, ATableHasARegionOfTheUpperHalfOfAllOffsets) {
  for (const char* table : {"DW_SEC_COMP", "DW_SEC_PC", "DW_Reports", "x", ""}) {
    const auto region = lock_region(table);
    EXPECT_GE(region.first, std::int64_t{1} << 62);
    EXPECT_EQ(region.last - region.first, (std::int64_t{1} << 46) - 1);
    EXPECT_EQ(region_around(region.first), region);
    EXPECT_EQ(region_around(region.last), region);
  }
  EXPECT_NE(lock_region("DW_SEC_COMP"), lock_region("DW_SEC_PC"));
  EXPECT_NE(lock_region("DW_SEC_COMP"), lock_region("DW_Reports"));
}

TEST(RowKey, TheLastRegionEndsAtTheLastOffset) {
  constexpr auto kLast = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(region_around(kLast).last, kLast);
}

TEST(RowKey, TheLetterCaseOfATableDoesNotCount) {
  EXPECT_EQ(lock_region("DW_SEC_PC"), lock_region("dw_sec_pc"));
}

// Programs of different builds meet on one lock file: these must never change.
TEST(RowKey, TheBytesOfKeysAreFixed) {
  EXPECT_EQ(lock_region("DW_Reports").first, 4944107965922672640);
  EXPECT_EQ(byte_of({str("00-1A"), str("PC1"), std::int64_t{7}}), 7369035800656714795);
}

TEST(RowKey, TheLetterCaseOfTextsDoesNotCount) {
  EXPECT_EQ(byte_of({str("Sales")}), byte_of({str("SALES")}));
  EXPECT_NE(byte_of({str("Sales")}), byte_of({str("Sale")}));
  // As names compare: beyond ASCII too.
  EXPECT_EQ(byte_of({str("\u00C4")}), byte_of({str("\u00E4")}));
  EXPECT_EQ(byte_of({str("\u1E9E")}), byte_of({str("\u00DF")}));  // of three bytes and of two
}

TEST(RowKey, WhereAValueEndsCounts) {
  EXPECT_NE(byte_of({str("ab"), str("c")}), byte_of({str("a"), str("bc")}));
  EXPECT_NE(byte_of({str("")}), byte_of({nullptr}));
}

TEST(RowKey, ANumberCountsHoweverItIsStored) {
  EXPECT_EQ(byte_of({std::int64_t{7}}), byte_of({7.0}));
  EXPECT_NE(byte_of({std::int64_t{7}}), byte_of({7.5}));
  EXPECT_NE(byte_of({std::int64_t{7}}), byte_of({std::int64_t{-7}}));
  EXPECT_NE(byte_of({7.5}), byte_of({-7.5}));
  EXPECT_NE(byte_of({1e300}), byte_of({std::numeric_limits<double>::infinity()}));
}

TEST(RowKey, IsReadableAsText) {
  EXPECT_EQ(text_of({str("00-1A"), str("PC1"), std::int64_t{-7}}), "00-1A, PC1, -7");
  EXPECT_EQ(text_of({1.5}), "1.5");
  EXPECT_EQ(text_of({nullptr}), "NULL");
  EXPECT_EQ(text_of({Blob{Bytes{std::byte{'x'}}}}), "(binary)");
}

TEST(RowKey, TheSameKeyHasTheSameValues) {
  const auto same = [](const StoredValue& a, const StoredValue& b) {
    const ado::Cell left[] = {cell_of(a)};
    const ado::Cell right[] = {cell_of(b)};
    return same_key(left, right);
  };
  EXPECT_TRUE(same(str("Sales"), str("Sales")));
  EXPECT_FALSE(same(str("Sales"), str("SALES")));
  EXPECT_FALSE(same(str("7"), std::int64_t{7}));
  EXPECT_FALSE(same(str("x"), Blob{Bytes{std::byte{'x'}}}));
  EXPECT_TRUE(same(nullptr, nullptr));
  EXPECT_TRUE(same(1.5, 1.5));
  EXPECT_FALSE(same(1.5, 2.5));
  EXPECT_FALSE(same(1.5, std::int64_t{1}));
}

}  // namespace
}  // namespace tarnwick::sqlite
