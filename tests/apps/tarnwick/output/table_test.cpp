#include "apps/tarnwick/output/table.h"

#include <gtest/gtest.h>

namespace tarnwick::cli {
namespace {

using namespace std::string_view_literals;

TEST(PrintableText, KeepsWhatCanBeSeen) {
  EXPECT_EQ(printable("Größe £ 日本 – \\x1b"), "Größe £ 日本 – \\x1b");
}

TEST(PrintableText, ShowsControlCharactersAsNumbers) {
  EXPECT_EQ(printable("a\0b\tc\x7f\x1b[2J"sv), "a\\x00b\\x09c\\x7f\\x1b[2J");
  EXPECT_EQ(printable("\xc2\x9b"), "\\x9b");
}

TEST(PrintableText, KeepsLinesWhereTheyAreWanted) {
  EXPECT_EQ(printable("a\r\nb\tc\rd\n", true), "a\nb\tc\\x0dd\n");
}

}  // namespace
}  // namespace tarnwick::cli
