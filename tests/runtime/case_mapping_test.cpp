#include "runtime/case_mapping.h"

#include <gtest/gtest.h>

#include "runtime/simple_case.h"

namespace tarnwick {
namespace {

Text text_of(char32_t c) {
  if (c < 0x10000) return Text(1, static_cast<char16_t>(c));
  return Text{static_cast<char16_t>(0xD7C0 + (c >> 10)),
              static_cast<char16_t>(0xDC00 | (c & 0x3FF))};
}

bool is_surrogate(char32_t c) { return c >= 0xD800 && c <= 0xDFFF; }

std::size_t hash_ignoring_case(TextView text) {
  Text folded(text.size(), u'\0');
  return static_cast<std::size_t>(fold_and_hash(text, folded.data()));
}

TEST(Upper, MapsOneCodePointToOne) {
  EXPECT_EQ(upper(u""), u"");
  EXPECT_EQ(upper(u"abz{@[`09Z"), u"ABZ{@[`09Z");
  EXPECT_EQ(upper(u"stra\u00DFe \u00E4\u00F7\u00FE"), u"STRA\u00DFE \u00C4\u00F7\u00DE");
  EXPECT_EQ(upper(u"\u00B5\u00FF"), u"\u039C\u0178");
  EXPECT_EQ(upper(u"\u03C3\u03C2 \u0436 \u0131"), u"\u03A3\u03A3 \u0416 I");
  EXPECT_EQ(upper(u"\u01C6\u01C5"), u"\u01C4\u01C4");  // the digraph and its title case
}

TEST(Upper, MapsOutsideTheBasicPlane) {
  EXPECT_EQ(upper(u"x\U00010428y"), u"X\U00010400Y");  // Deseret
  EXPECT_EQ(upper(u"\U0001F600"), u"\U0001F600");
}

TEST(Upper, LeavesUnpairedSurrogatesAndNulAlone) {
  EXPECT_EQ(upper(Text{u'a', char16_t{0xD801}, u'b', char16_t{0xDC28}, u'\0', u'c'}),
            (Text{u'A', char16_t{0xD801}, u'B', char16_t{0xDC28}, u'\0', u'C'}));
  EXPECT_EQ(upper(Text{u'a', char16_t{0xD801}}), (Text{u'A', char16_t{0xD801}}));
  EXPECT_EQ(upper(Text{char16_t{0xD801}, u'\uFF41'}), (Text{char16_t{0xD801}, u'\uFF21'}));
}

TEST(Fold, MakesTextsThatDifferOnlyInCaseEqual) {
  EXPECT_EQ(fold(u"SALES Report"), u"sales report");
  EXPECT_EQ(fold(u"\u00C0\u00DE\u00D7\u00DF"), u"\u00E0\u00FE\u00D7\u00DF");
  EXPECT_EQ(fold(u"\u03A3\u03C2\u03C3"), u"\u03C3\u03C3\u03C3");
  EXPECT_EQ(fold(u"\u212A\u00B5"), u"k\u03BC");  // Kelvin sign, micro sign
  EXPECT_EQ(fold(u"\U00010400"), u"\U00010428");
  EXPECT_EQ(fold(u"\u1E9E"), u"\u00DF");  // capital sharp s
}

TEST(Fold, LeavesTheTurkishLettersApart) { EXPECT_EQ(fold(u"I\u0130i\u0131"), u"i\u0130i\u0131"); }

TEST(CaseMapping, AgreesWithTheUnicodeLibraryOnEveryCodePoint) {
  for (char32_t c = 0; c <= 0x10FFFF; ++c) {
    if (is_surrogate(c)) continue;
    ASSERT_EQ(upper(text_of(c)), text_of(simple_upper(c))) << static_cast<std::uint32_t>(c);
    ASSERT_EQ(fold(text_of(c)), text_of(simple_fold(c))) << static_cast<std::uint32_t>(c);
  }
}

TEST(EqualsIgnoringCase, ComparesFoldings) {
  EXPECT_TRUE(equals_ignoring_case(u"", u""));
  EXPECT_TRUE(equals_ignoring_case(u"SALES", u"sales"));
  EXPECT_TRUE(equals_ignoring_case(u"00\u00FEPC\u00DE7", u"00\u00DEpc\u00FE7"));
  EXPECT_TRUE(equals_ignoring_case(u"\u03A3\u03B1\u03C2", u"\u03C3\u0391\u03C3"));
  EXPECT_TRUE(equals_ignoring_case(u"\u212A", u"K"));
  EXPECT_TRUE(equals_ignoring_case(u"\u00B5", u"\u03BC"));
  EXPECT_FALSE(equals_ignoring_case(u"sales", u"sale"));
  EXPECT_FALSE(equals_ignoring_case(u"sales", u"salez"));
  EXPECT_FALSE(equals_ignoring_case(u"@", u"`"));
  EXPECT_FALSE(equals_ignoring_case(u"\u00D7", u"\u00F7"));
  EXPECT_FALSE(equals_ignoring_case(Text(u"a\0b", 3), Text(u"a\0c", 3)));
}

TEST(HashIgnoringCase, IsTheSameForEqualTexts) {
  EXPECT_EQ(hash_ignoring_case(u"Daily Sales By Region"),
            hash_ignoring_case(u"DAILY SALES BY REGION"));
  EXPECT_EQ(hash_ignoring_case(u"\u212A\u00DE"), hash_ignoring_case(u"k\u00FE"));
  EXPECT_NE(hash_ignoring_case(u"a"), hash_ignoring_case(Text(u"a\0", 2)));
  EXPECT_NE(hash_ignoring_case(u"abcd1"), hash_ignoring_case(u"abcd2"));
}

TEST(IsOneOf, ComparesWithoutRegardToCase) {
  EXPECT_TRUE(is_one_of(u"\u00DE", {u"x", u"\u00FE"}));
  EXPECT_FALSE(is_one_of(u"y", {u"x", u"\u00FE"}));
  EXPECT_FALSE(is_one_of(u"y", {}));
}

TEST(FoldAndHash, WritesTheFoldingAndReturnsItsHash) {
  const TextView text = u"Stock \u00DE \u03A3";
  Text folded(text.size(), u'?');
  const std::uint64_t hash = fold_and_hash(text, folded.data());
  EXPECT_EQ(folded, u"stock \u00FE \u03C3");
  EXPECT_EQ(static_cast<std::size_t>(hash), hash_ignoring_case(text));
}

TEST(FindIgnoringCase, GivesThePositionInTheText) {
  EXPECT_EQ(find_ignoring_case(u"Provider=X;OLE DB Services=-2", u"ole db services"), 11u);
  EXPECT_EQ(find_ignoring_case(u"\U00010400\u03A3x", u"\u03C2X"), 2u);
  EXPECT_EQ(find_ignoring_case(u"abc", u""), 0u);
  EXPECT_EQ(find_ignoring_case(u"abc", u"abcd"), Text::npos);
}

}  // namespace
}  // namespace tarnwick
