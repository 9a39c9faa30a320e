#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <regex>
#include <string>
#include <string_view>

namespace tarnwick::odbc_test {
namespace {

// Words of Transact-SQL that are allowed as names: the server takes them as they are, while batch
// tools that read a script before they send it stumble over the one or other.
constexpr std::array<std::string_view, 5> kWords{"Definition", "Priority", "RowVersion", "Server",
                                                 "Version"};

TEST(SqlServerSchema, ColumnNamesThatAreWordsOfTheLanguageStandInBrackets) {
  std::ifstream file(SQLSERVER_SCHEMA);
  ASSERT_TRUE(file);
  const std::regex column(R"(^  (\[?)(\w+)(\]?) [a-z]+(\([^)]*\))?( NOT)? NULL,?$)");
  std::size_t columns = 0;
  std::size_t in_brackets = 0;
  for (std::string line; std::getline(file, line);) {
    std::smatch match;
    if (!std::regex_match(line, match, column)) continue;
    ++columns;
    const bool is_word = std::ranges::find(kWords, match.str(2)) != kWords.end();
    const bool bracketed = match.length(1) == 1 && match.length(3) == 1;
    if (bracketed) ++in_brackets;
    EXPECT_EQ(bracketed, is_word) << line;
  }
  EXPECT_EQ(columns, 14u + 16u + 16u);
  EXPECT_EQ(in_brackets, 7u);
}

}  // namespace
}  // namespace tarnwick::odbc_test
