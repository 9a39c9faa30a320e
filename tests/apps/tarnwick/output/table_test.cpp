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
  EXPECT_EQ(printable("\xc2x"), "\xc2x");  // what is no UTF-8 is left alone
}

TEST(PrintableText, KeepsLinesWhereTheyAreWanted) {
  EXPECT_EQ(printable("a\r\nb\tc\rd\n", true), "a\nb\tc\\x0dd\n");
}

TEST(Tables, WithoutLinesAreNothing) {
  Table table;
  table.add_column("Name");
  EXPECT_EQ(table.text(80), "");
}

TEST(Tables, CutWhatMayBeCutAsFarAsItHelps) {
  Table table;
  table.add_column("Whole");
  table.add_column("Cut", Table::Column::kMayBeCut);
  table.add_line({"0123456789", "0123456789"});
  EXPECT_EQ(table.text(std::nullopt).find("0123456789 0123456789"),
            table.text(21).find("0123456789 0123456789"));
  for (const std::size_t room : {std::size_t{1}, std::size_t{5}}) {
    EXPECT_NE(table.text(room).find("0123456789"), std::string::npos) << room;
  }
}

TEST(Tables, DrawTheBranchesOfATree) {
  Table table;
  table.add_column("Name", Table::Column::kTree);
  const auto top = table.add_line({"top"});
  const auto first = table.add_line({"first"}, top);
  table.add_line({"of the first"}, first);
  const auto last = table.add_line({"last"}, top);
  table.add_line({"of the last"}, last);
  const std::string text = table.text(std::nullopt);
  for (const char* line :
       {"\n├─first\n", "\n│ └─of the first\n", "\n└─last\n", "\n  └─of the last\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line << text;
  }
}

}  // namespace
}  // namespace tarnwick::cli
