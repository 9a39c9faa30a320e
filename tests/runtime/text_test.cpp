#include "runtime/text.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::error_number_of;

constexpr char16_t kHigh = 0xD83D, kLow = 0xDE00;  // together U+1F600

/// Bytes that a string literal would need escapes for.
std::string string_of(std::initializer_list<int> values) {
  std::string result;
  for (const int value : values) result.push_back(static_cast<char>(value));
  return result;
}

TEST(Join, PutsThePiecesOneBehindTheOther) {
  EXPECT_EQ(join({u"Select ", u"", u"*"}), u"Select *");
  EXPECT_EQ(join({}), u"");
  EXPECT_EQ(join({TextView(u"a\0b", 3), u"c"}), Text(u"a\0bc", 4));
}

TEST(Decimal, HasNoLeadingBlankAndAMinusSign) {
  EXPECT_EQ(decimal(0), u"0");
  EXPECT_EQ(decimal(42), u"42");
  EXPECT_EQ(decimal(-2147221504), u"-2147221504");
  EXPECT_EQ(decimal(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
  EXPECT_EQ(decimal(std::numeric_limits<std::int64_t>::max()), u"9223372036854775807");
}

TEST(Utf8, IsWrittenInOneToFourBytes) {
  EXPECT_EQ(to_utf8(u""), "");
  EXPECT_EQ(to_utf8(u"A\u007F"), "A\x7F");
  EXPECT_EQ(to_utf8(u"\u0080\u07FF"), string_of({0xC2, 0x80, 0xDF, 0xBF}));
  EXPECT_EQ(to_utf8(u"\u0800\uFFFF"), string_of({0xE0, 0xA0, 0x80, 0xEF, 0xBF, 0xBF}));
  EXPECT_EQ(to_utf8(u"\U00010000\U0010FFFF"),
            string_of({0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF}));
  EXPECT_EQ(to_utf8(Text(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(Utf8, OfAnUnpairedSurrogateIsError5) {
  EXPECT_EQ(error_number_of([] { return to_utf8(Text{u'a', kHigh}); }), 5);
  EXPECT_EQ(error_number_of([] { return to_utf8(Text{kHigh, u'a'}); }), 5);
  EXPECT_EQ(error_number_of([] { return to_utf8(Text{kLow}); }), 5);
  EXPECT_EQ(error_number_of([] { return to_utf8(Text{kLow, kHigh}); }), 5);
}

TEST(DisplayUtf8, ShowsAReplacementForEveryUnpairedSurrogate) {
  EXPECT_EQ(to_display_utf8(Text{kLow, kHigh}), "\uFFFD\uFFFD");
  EXPECT_EQ(to_display_utf8(Text{kHigh, kHigh, kLow, u'x'}), "\uFFFD\U0001F600x");
  EXPECT_EQ(to_display_utf8(u"Gr\u00FC\u00DFe"), "Gr\u00FC\u00DFe");
}

TEST(FromUtf8, ReadsWhatToUtf8Writes) {
  Text every;
  for (char32_t c = 0; c < 0x10000; ++c) {
    if (c < 0xD800 || c > 0xDFFF) every.push_back(static_cast<char16_t>(c));
  }
  every += u"\U00010000\U0001F600\U0010FFFF";
  EXPECT_EQ(from_utf8(to_utf8(every)), every);
  EXPECT_EQ(from_stored_utf8(to_utf8(every)), every);
}

TEST(FromUtf8, ReadsAsciiOfEveryLength) {
  std::string ascii;
  Text wide;
  for (int i = 0; i < 40; ++i) {
    EXPECT_EQ(from_utf8(ascii), wide);
    EXPECT_EQ(from_utf8(ascii + "\u00E9" + ascii), wide + u"\u00E9" + wide);
    ascii.push_back(static_cast<char>('!' + i));
    wide.push_back(static_cast<char16_t>(u'!' + i));
  }
}

TEST(FromUtf8, RefusesMalformedBytesWithError5) {
  const std::string malformed[] = {
      string_of({0x80}),                    // continuation without a lead
      string_of({0xC0, 0x80}),              // overlong NUL
      string_of({0xC1, 0xBF}),              // overlong
      string_of({0xE0, 0x9F, 0xBF}),        // overlong
      string_of({0xF0, 0x8F, 0xBF, 0xBF}),  // overlong
      string_of({0xED, 0xA0, 0x80}),        // surrogate
      string_of({0xF4, 0x90, 0x80, 0x80}),  // above U+10FFFF
      string_of({0xF5, 0x80, 0x80, 0x80}),  // never a lead
      string_of({0xFF}),                    //
      string_of({0xC3}),                    // cut off
      string_of({0xE2, 0x82}),              // cut off
      string_of({0xF0, 0x9F, 0x98}),        // cut off
      string_of({0xE2, 0x28, 0xA1}),        // no continuation
  };
  for (const std::string& text : malformed) {
    EXPECT_EQ(error_number_of([&] { return from_utf8(text); }), 5)
        << ::testing::PrintToString(text);
    EXPECT_EQ(error_number_of([&] { return from_utf8("12345678" + text + "x"); }), 5);
  }
}

// The examples of the Unicode Standard, section 3.9, tables 3-8 to 3-11.
TEST(FromStoredUtf8, ReplacesEveryMaximalSubpart) {
  EXPECT_EQ(from_stored_utf8(string_of({0xC0, 0xAF, 0xE0, 0x80, 0xBF, 0xF0, 0x81, 0x82, 0x41})),
            u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA");
  EXPECT_EQ(from_stored_utf8(string_of({0xED, 0xA0, 0x80, 0xED, 0xBF, 0xBF, 0xED, 0xAF, 0x41})),
            u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA");
  EXPECT_EQ(from_stored_utf8(string_of({0xF4, 0x91, 0x92, 0x93, 0xFF, 0x41, 0x80, 0xBF, 0x42})),
            u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDA\uFFFD\uFFFDB");
  EXPECT_EQ(from_stored_utf8(string_of({0xE1, 0x80, 0xE2, 0xF0, 0x91, 0x92, 0xF1, 0xBF, 0x41})),
            u"\uFFFD\uFFFD\uFFFD\uFFFDA");
  EXPECT_EQ(from_stored_utf8(string_of({'a', 'b', 0xE2, 0x82})), u"ab\uFFFD");
  Text text = u"before ";
  append_stored_utf8(string_of({'a', 0xC3, 0xA9, 0xE2, 0x82}), text);
  EXPECT_EQ(text, u"before a\u00E9\uFFFD");
}

TEST(Trim, TakesBlanksOffBothEndsAndNothingElse) {
  EXPECT_EQ(trim(u"  a b "), u"a b");
  EXPECT_EQ(trim(u"   "), u"");
  EXPECT_EQ(trim(u""), u"");
  EXPECT_EQ(trim(u"\t a\u00A0"), u"\t a\u00A0");
}

}  // namespace
}  // namespace tarnwick
