#include "records/row_version.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

Bytes bytes(std::initializer_list<unsigned> values) {
  ByteBuffer result;
  for (const unsigned value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

TEST(PadLeft, PutsTheCharacterInFrontAsOftenAsTheTextIsShort) {
  EXPECT_EQ(pad_left(u"7", 2, u'0'), u"07");
  EXPECT_EQ(pad_left(u"", 3, u'x'), u"xxx");
}

TEST(PadLeft, ReturnsATextOfTheWidthOrLongerUnchanged) {
  EXPECT_EQ(pad_left(u"1F", 2, u'0'), u"1F");
  EXPECT_EQ(pad_left(u"12345", 2, u'0'), u"12345");
  EXPECT_EQ(pad_left(u"1", 0, u'0'), u"1");
  EXPECT_EQ(pad_left(u"1", -1, u'0'), u"1");
}

TEST(PadLeft, TrimsBlanksBeforeItCounts) {
  EXPECT_EQ(pad_left(u"  7 ", 4, u'0'), u"0007");
  EXPECT_EQ(pad_left(u" 123456 ", 2, u'0'), u"123456");
}

TEST(RowVersionToHex, WritesEachCharacterAsUpperCaseHexadecimal) {
  EXPECT_EQ(row_version_to_hex(u"Az"), u"417A");
  EXPECT_EQ(row_version_to_hex(u""), u"");
}

TEST(RowVersionToHex, FillsCodesBelow16UpToTwoDigits) {
  using namespace std::string_view_literals;
  EXPECT_EQ(row_version_to_hex(u"\x0F\0\x01"sv), u"0F0001");
}

TEST(RowVersionText, WritesEveryByteAsTwoDigits) {
  EXPECT_EQ(row_version_text(bytes({0, 0, 0, 0, 0, 0, 0x07, 0xD1})), u"00000000000007D1");
  EXPECT_EQ(row_version_text(bytes({0x80, 0x9F, 0xFF, 0xA0})), u"809FFFA0");
}

TEST(RowVersionText, OfNullIsEmpty) {
  EXPECT_EQ(row_version_text(Null{}), u"");
  EXPECT_EQ(row_version_text(Bytes{}), u"");
}

TEST(RowVersionText, TakesATextCharacterByCharacter) {
  EXPECT_EQ(row_version_text(Text(u"\u00E9\u000A")), u"E90A");
}

TEST(RowVersionText, LosesNothing) {
  for (unsigned value = 0; value < 256; ++value) {
    const Text text = row_version_text(bytes({value}));
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(std::stoul(to_utf8(text), nullptr, 16), value);
  }
}

}  // namespace
}  // namespace tarnwick
