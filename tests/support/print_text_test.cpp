#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>

#include <optional>
#include <vector>

#include "runtime/variant.h"

// What a failed comparison says.

namespace tarnwick {
namespace {

using ::testing::PrintToString;

constexpr TextView kView = u"Übersicht\r\n";
constexpr char16_t kLiteral[] = u"to\tbe";

TEST(FailedComparison, OfTextsShowsThemAsText) {
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(Text(u"Übersicht"), Text(u"übersicht")),
                          "  Text(u\"Übersicht\")\n    Which is: u\"Übersicht\"\n");
}

TEST(FailedComparison, OfATextAndALiteralShowsBothAsText) {
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(Text(u"was"), u"is"), "Which is: u\"was\"\n");
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(Text(u"was"), kLiteral), "Which is: u\"to\\tbe\"");
}

TEST(FailedComparison, OfAViewAndALiteralShowsBothAsText) {
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(kView, u"is"), "Which is: u\"Übersicht\\r\\n\"\n");
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(kView, kLiteral), "Which is: u\"to\\tbe\"");
}

TEST(FailedComparison, OfAViewAndATextShowsBothAsText) {
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(kView, Text(u"is")), "Which is: u\"Übersicht\\r\\n\"\n");
  EXPECT_NONFATAL_FAILURE(EXPECT_EQ(Text(u"was"), kView), "Which is: u\"Übersicht\\r\\n\"");
}

TEST(FailedComparison, ByAMatcherShowsWhatWasExpectedAndWhatWasFound) {
  EXPECT_NONFATAL_FAILURE(EXPECT_THAT(Text(u"was"), ::testing::Eq(kView)),
                          "Expected: is equal to u\"Übersicht\\r\\n\"\n  Actual: u\"was\"");
}

TEST(PrintedText, InsideOfOtherValuesIsTextToo) {
  EXPECT_EQ(PrintToString(std::vector<Text>{u"a", u"ß"}), "{ u\"a\", u\"ß\" }");
  EXPECT_EQ(PrintToString(std::vector<TextView>{u"a", u"ß"}), "{ u\"a\", u\"ß\" }");
  EXPECT_EQ(PrintToString(std::optional<TextView>(u"ß")), "(u\"ß\")");
  EXPECT_THAT(PrintToString(Variant(Text(u"ß"))), ::testing::HasSubstr("u\"ß\""));
}

TEST(PrintedText, EscapesWhatCannotBeSeen) {
  using namespace std::string_view_literals;
  EXPECT_EQ(PrintToString(u"a\0b\u00A0\u200B\uFEFF\u0308"sv),
            R"(u"a\u0000b\u00A0\u200B\uFEFF\u0308")");
  EXPECT_EQ(PrintToString(TextView(u"say \"a\\b\"")), R"(u"say \"a\\b\"")");
}

TEST(PrintedText, KeepsPairsAndEscapesWhatLacksItsOther) {
  EXPECT_EQ(PrintToString(TextView(u"\U0001F600")), "u\"\U0001F600\"");
  const Text halves{0xD83D, u'a', 0xDE00, 0xD83D};
  EXPECT_EQ(PrintToString(halves), R"(u"\uD83Da\uDE00\uD83D")");
}

}  // namespace
}  // namespace tarnwick
