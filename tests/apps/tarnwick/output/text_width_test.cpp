#include "apps/tarnwick/output/text_width.h"

#include <gtest/gtest.h>

namespace tarnwick::cli {
namespace {

TEST(TextWidth, IsThatOfTheTerminalsColumns) {
  EXPECT_EQ(width_of(""), 0u);
  EXPECT_EQ(width_of("Größe £"), 7u);
  EXPECT_EQ(width_of("日本"), 4u);
  EXPECT_EQ(width_of("\U0001F600"), 2u);
  EXPECT_EQ(width_of("e\u0301"), 1u);
  EXPECT_EQ(width_of("\U0010FFFD"), 1u);  // behind all that take more or less than one
}

TEST(TextWidth, OfACharacterThatIsCutOffIsThatOfItsBytes) {
  EXPECT_EQ(width_of("a\xE6\xE7"), 3u);
  EXPECT_EQ(width_of("\xC3"), 1u);
}

TEST(TextWidth, IsCutBetweenCharacters) {
  EXPECT_EQ(cut_to_width("日本", 3), "日");
  EXPECT_EQ(cut_to_width("ab", 5), "ab");
  EXPECT_EQ(cut_to_width("ab", 0), "");
}

}  // namespace
}  // namespace tarnwick::cli
