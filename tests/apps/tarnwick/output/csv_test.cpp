#include "apps/tarnwick/output/csv.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Cells = std::vector<std::string>;

std::string written(const Cells& cells) {
  std::ostringstream out;
  write_csv(out, cells);
  return out.str();
}

std::vector<Cells> read(std::string_view table) {
  std::vector<Cells> all;
  for (const CsvRecord& record : read_csv(table)) all.push_back(record.cells);
  return all;
}

void expect_refused(std::string_view table, std::size_t line, const std::string& what) {
  try {
    static_cast<void>(read_csv(table));
    ADD_FAILURE() << table;
  } catch (const CsvError& error) {
    EXPECT_EQ(error.line(), line) << table;
    EXPECT_EQ(error.what(), what) << table;
  }
}

TEST(Csv, IsWrittenWithQuotesWhereTheyAreNeededAlone) {
  EXPECT_EQ(written({"a", "", "b c", "1,5"}), "a,,b c,\"1,5\"\r\n");
  EXPECT_EQ(written({"say \"hi\"", "two\nlines", "two\r\nlines", "Größe"}),
            "\"say \"\"hi\"\"\",\"two\nlines\",\"two\r\nlines\",Größe\r\n");
}

TEST(Csv, IsReadAsItWasWritten) {
  const Cells cells{"", "\"", "\"\"", ",", "\r\n", "\n", "a,\"b\"\n", " blank ", "Größe"};
  EXPECT_THAT(read(written(cells) + written(cells)), ElementsAre(cells, cells));
}

TEST(Csv, IsReadWithEitherLineEndAndWithoutTheLast) {
  EXPECT_THAT(read("a,b\nc,d\r\ne,"),
              ElementsAre(Cells{"a", "b"}, Cells{"c", "d"}, Cells{"e", ""}));
  EXPECT_THAT(read("a\n\n"), ElementsAre(Cells{"a"}, Cells{""}));
  EXPECT_THAT(read(""), IsEmpty());
}

TEST(Csv, KnowsTheLinesOfItsRecords) {
  const auto records = read_csv("a,\"1\n2\n3\"\r\nb,\"4\r\n5\"\r\nc,6\r\n");
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].line, 1u);
  EXPECT_EQ(records[1].line, 4u);
  EXPECT_EQ(records[2].line, 6u);
}

TEST(Csv, IsRefusedWhereQuotesDoNotMatch) {
  expect_refused("a\nb,\"c\nd\ne", 2, "a cell that begins with a quote has no closing one");
  expect_refused("a\nb\"c", 2, "a cell that holds a quote does not stand between quotes");
  expect_refused("\"a\n\"b", 2, "there is text behind the closing quote of a cell");
  expect_refused("a\rb", 1, "a line ends with a carriage return alone");
}

}  // namespace
}  // namespace tarnwick::cli
