#include "apps/tarnwick/completion/shell_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;

constexpr std::string_view kBreaks = " \t\n\"'><=;|&(:";

ShellLine parse(std::string_view line) { return parse_shell_line(line, kBreaks); }

TEST(ShellLine, IsTakenApartAtBlanks) {
  EXPECT_THAT(parse("tarnwick  pc\tlist").words, ElementsAre("tarnwick", "pc", "list"));
  EXPECT_THAT(parse("tarnwick pc ").words, ElementsAre("tarnwick", "pc", ""));
  EXPECT_THAT(parse("").words, ElementsAre(""));
}

TEST(ShellLine, LosesItsQuotes) {
  EXPECT_THAT(parse(R"(a 'b c' "d e" f\ g h' i'j)").words,
              ElementsAre("a", "b c", "d e", "f g", "h ij"));
  EXPECT_THAT(parse(R"('\' "\\" "\"" "\a" '' )").words,
              ElementsAre("\\", "\\", "\"", "\\a", "", ""));
}

TEST(ShellLine, KnowsTheQuoteThatIsOpen) {
  EXPECT_EQ(parse("a 'b c").open_quote, '\'');
  EXPECT_EQ(parse("a \"b 'c").open_quote, '"');
  EXPECT_EQ(parse("a 'b' c").open_quote, '\0');
  EXPECT_THAT(parse("a 'b c").words, ElementsAre("a", "b c"));
}

TEST(ShellLine, KnowsHowMuchOfAWordTheLineEditorKeeps) {
  EXPECT_EQ(parse("a word").kept, 0u);
  EXPECT_EQ(parse("a --field=Se").kept, 8u);
  EXPECT_EQ(parse("a retry:").kept, 6u);
  EXPECT_EQ(parse("a b=c d").kept, 0u);
  EXPECT_EQ(parse("a b\\=c").kept, 0u);
  EXPECT_EQ(parse("a 'b=c'd").kept, 0u);
  EXPECT_EQ(parse("a --name='b=c").kept, 7u);
  EXPECT_EQ(parse("a --name='b=c'd").kept, 7u);
}

TEST(ShellLine, LeavesOutWhereOutputGoes) {
  EXPECT_THAT(parse("a >file b").words, ElementsAre("a", "b"));
  EXPECT_THAT(parse("a >> file b").words, ElementsAre("a", "b"));
  EXPECT_TRUE(parse("a > fi").redirects);
  EXPECT_TRUE(parse("a >").redirects);
  EXPECT_FALSE(parse("a >file ").redirects);
  EXPECT_FALSE(parse("a '>'").redirects);
}

TEST(ShellLine, ReadsBackWhatWasQuoted) {
  const std::string hostile = "it's \"$HOME\" `x` \\ (a) [b] {c} * ? ! # ; | & < > ~ ^ Zoë\t";
  EXPECT_THAT(parse("a " + quoted_for_shell(hostile, '\0')).words, ElementsAre("a", hostile));
  EXPECT_THAT(parse("a '" + quoted_for_shell(hostile, '\'') + "'").words,
              ElementsAre("a", hostile));
  EXPECT_THAT(parse("a \"" + quoted_for_shell(hostile, '"') + "\"").words,
              ElementsAre("a", hostile));
}

}  // namespace
}  // namespace tarnwick::cli
