#include "ado/stream.h"

#include <gtest/gtest.h>

#include <string_view>

#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

Bytes bytes(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

Stream binary(std::string_view content = {}) {
  Stream stream;
  stream.set_type(StreamType::kBinary);
  stream.open();
  stream.write(bytes(content));
  stream.set_position(0);
  return stream;
}

Stream text(TextView content, TextView charset = u"iso-8859-1") {
  Stream stream;
  stream.set_charset(charset);
  stream.open();
  stream.write_text(content);
  stream.set_position(0);
  return stream;
}

/// The bytes that lie in a text stream.
Bytes raw(Stream& stream) {
  stream.set_position(0);
  stream.set_type(StreamType::kBinary);
  return stream.read();
}

// --- State -------------------------------------------------------------------------------------

TEST(StreamTest, ANewStreamIsClosedTextInLatin1) {
  Stream stream;
  EXPECT_EQ(stream.state(), ObjectState::kClosed);
  EXPECT_EQ(stream.type(), StreamType::kText);
  EXPECT_EQ(stream.charset(), u"iso-8859-1");
}

TEST(StreamTest, WhatNeedsItOpenIsRefusedWhileClosed) {
  Stream stream;
  Stream target = binary();
  EXPECT_EQ(error_number_of([&] { stream.close(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)stream.position(); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.set_position(0); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)stream.size(); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.write(bytes("x")); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)stream.read(); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)stream.read(); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.write_text(u"x"); }), 3704);
  EXPECT_EQ(error_number_of([&] { (void)stream.read_text(); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.copy_to(target); }), 3704);
  EXPECT_EQ(error_number_of([&] { target.copy_to(stream); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.load_from_file("/dev/null"); }), 3704);
  EXPECT_EQ(error_number_of([&] { stream.save_to_file("/dev/null"); }), 3704);
}

TEST(StreamTest, IsOpenedOnceAndAfterACloseAnewAndEmpty) {
  Stream stream = binary("abc");
  EXPECT_EQ(error_number_of([&] { stream.open(); }), 3705);
  stream.close();
  EXPECT_EQ(stream.state(), ObjectState::kClosed);
  stream.open();
  EXPECT_EQ(stream.size(), 0);
  EXPECT_EQ(stream.position(), 0);
  EXPECT_EQ(stream.type(), StreamType::kBinary);
}

TEST(StreamTest, TypeAndCharsetChangeOnlyAtTheStart) {
  Stream stream = text(u"abc");
  stream.set_position(1);
  EXPECT_EQ(error_number_of([&] { stream.set_type(StreamType::kBinary); }), 3219);
  EXPECT_EQ(error_number_of([&] { stream.set_charset(u"utf-8"); }), 3219);
  stream.set_position(0);
  stream.set_type(StreamType::kBinary);
  stream.set_charset(u"utf-8");
  EXPECT_EQ(stream.read(), bytes("abc"));
  stream.close();
  stream.set_type(StreamType::kText);
  EXPECT_EQ(stream.charset(), u"utf-8");
}

TEST(StreamTest, AnUnknownCharsetIsAnInvalidArgument) {
  Stream stream;
  EXPECT_EQ(error_number_of([&] { stream.set_charset(u"klingon"); }), 3001);
  EXPECT_EQ(stream.charset(), u"iso-8859-1");
  stream.set_charset(u"UTF-8");
  EXPECT_EQ(stream.charset(), u"UTF-8");
}

TEST(StreamTest, APositionLiesWithinTheContent) {
  Stream stream = binary("abc");
  stream.set_position(3);
  EXPECT_EQ(stream.position(), 3);
  EXPECT_EQ(error_number_of([&] { stream.set_position(4); }), 3001);
  EXPECT_EQ(error_number_of([&] { stream.set_position(-1); }), 3001);
  EXPECT_EQ(stream.position(), 3);
}

TEST(StreamTest, EachModeHasItsOwnReadAndWrite) {
  Stream stream = text(u"abc");
  EXPECT_EQ(error_number_of([&] { stream.write(bytes("x")); }), 3219);
  EXPECT_EQ(error_number_of([&] { (void)stream.read(); }), 3219);
  EXPECT_EQ(error_number_of([&] { (void)stream.read(); }), 3219);
  stream.set_type(StreamType::kBinary);
  EXPECT_EQ(error_number_of([&] { stream.write_text(u"x"); }), 3219);
  EXPECT_EQ(error_number_of([&] { (void)stream.read_text(); }), 3219);
}

// --- Bytes -------------------------------------------------------------------------------------

TEST(StreamTest, BytesAreReadFromThePositionOn) {
  Stream stream = binary("abcdef");
  EXPECT_EQ(stream.read(2), bytes("ab"));
  EXPECT_EQ(stream.position(), 2);
  EXPECT_EQ(stream.read(0), Bytes());
  EXPECT_EQ(stream.read(), bytes("cdef"));
  EXPECT_EQ(stream.read(), Bytes());
  stream.set_position(4);
  EXPECT_EQ(stream.read(100), bytes("ef"));
  EXPECT_EQ(error_number_of([&] { (void)stream.read(-2); }), 3001);
}

TEST(StreamTest, BytesAreWrittenOverWhatIsThereAndBehindIt) {
  Stream stream = binary("abcdef");
  stream.set_position(2);
  stream.write(bytes("XY"));
  EXPECT_EQ(stream.position(), 4);
  EXPECT_EQ(stream.size(), 6);
  const Bytes more = bytes("123");
  stream.write(std::span(more));
  stream.write(bytes("4"));
  stream.set_position(0);
  EXPECT_EQ(stream.read(), bytes("abXY1234"));
}

TEST(StreamTest, AnEmptyStreamTakesBytesAndGivesThemWithoutCopying) {
  const Bytes content(1000, std::byte{7});
  Stream stream = binary();
  stream.write(Bytes(content));
  EXPECT_EQ(stream.position(), 1000);
  stream.set_position(0);
  EXPECT_EQ(stream.read().data(), content.data());
  EXPECT_EQ(stream.position(), 1000);
}

TEST(StreamTest, BytesThatOthersShareAreNotWrittenOver) {
  const Bytes content(4, std::byte{7});
  Stream stream = binary();
  stream.write(Bytes(content));
  stream.set_position(1);
  stream.write(bytes("XY"));
  stream.set_position(0);
  EXPECT_EQ(stream.read(), bytes("\x07XY\x07"));
  EXPECT_EQ(content, Bytes(4, std::byte{7}));
}

// --- Text --------------------------------------------------------------------------------------

TEST(StreamTest, Latin1IsOneByteACharacter) {
  Text all;
  for (char16_t unit = 0; unit <= 0xFF; ++unit) all += unit;
  Stream stream = text(all);
  EXPECT_EQ(stream.size(), 256);
  EXPECT_EQ(stream.read_text(), all);
  const Bytes stored = raw(stream);
  for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(stored[i], static_cast<std::byte>(i));
}

TEST(StreamTest, ACharacterOutsideTheCharsetIsRefusedAndNothingWritten) {
  Stream stream = text(u"ab");
  stream.set_position(2);
  EXPECT_EQ(error_number_of([&] { stream.write_text(u"cd\u0100"); }), 3421);
  EXPECT_EQ(error_description_of([&] { stream.write_text(u"\u20AC"); }),
            u"The text has a character that the character set \"iso-8859-1\" does not have.");
  EXPECT_EQ(stream.size(), 2);
  Stream utf8 = text(u"", u"utf-8");
  EXPECT_EQ(error_number_of([&] { utf8.write_text(Text{0xD800}); }), 3421);
  EXPECT_EQ(utf8.size(), 0);
}

TEST(StreamTest, TextIsReadByCharactersFromThePositionOn) {
  Stream stream = text(u"abcdef");
  EXPECT_EQ(stream.read_text(2), u"ab");
  EXPECT_EQ(stream.position(), 2);
  EXPECT_EQ(stream.read_text(), u"cdef");
  EXPECT_EQ(stream.read_text(), u"");
  EXPECT_EQ(error_number_of([&] { (void)stream.read_text(-2); }), 3001);
}

TEST(StreamTest, UnicodeTextBeginsWithAByteOrderMarkThatReadingPassesOver) {
  Stream utf8 = text(u"é\U0001F5C4", u"utf-8");
  EXPECT_EQ(utf8.read_text(), u"é\U0001F5C4");
  EXPECT_EQ(raw(utf8), bytes("\xEF\xBB\xBF\xC3\xA9\xF0\x9F\x97\x84"));
  Stream utf16 = text(u"é\U0001F5C4", u"Unicode");
  EXPECT_EQ(utf16.read_text(), u"é\U0001F5C4");
  EXPECT_EQ(raw(utf16), bytes(std::string_view("\xFF\xFE\xE9\x00\x3D\xD8\xC4\xDD", 8)));
}

TEST(StreamTest, AByteOrderMarkAloneIsAnEmptyText) {
  const std::pair<TextView, const char*> marks[] = {{u"utf-8", "\xEF\xBB\xBF"},
                                                    {u"unicode", "\xFF\xFE"}};
  for (const auto& [charset, mark] : marks) {
    Stream stream = binary(mark);
    stream.set_type(StreamType::kText);
    stream.set_charset(charset);
    EXPECT_EQ(stream.read_text(), u"") << to_utf8(charset);
  }
}

TEST(StreamTest, OnlyTheFirstTextGetsAByteOrderMark) {
  Stream stream = text(u"a", u"utf-8");
  stream.set_position(stream.size());
  stream.write_text(u"b");
  EXPECT_EQ(raw(stream), bytes("\xEF\xBB\xBF"
                               "ab"));
  Stream empty = text(u"", u"utf-8");
  EXPECT_EQ(empty.size(), 0);
}

TEST(StreamTest, UnicodeTextIsReadByCharacters) {
  for (const TextView charset : {TextView(u"utf-8"), TextView(u"unicode")}) {
    Stream stream = text(u"aé\u20AC\U0001F5C4z", charset);
    EXPECT_EQ(stream.read_text(2), u"aé");
    EXPECT_EQ(stream.read_text(1), u"\u20AC");
    // A pair is not split: a caller that reads one by one must get on.
    EXPECT_EQ(stream.read_text(1), u"\U0001F5C4");
    EXPECT_EQ(stream.read_text(0), u"");
    EXPECT_EQ(stream.read_text(5), u"z");
    EXPECT_EQ(stream.position(), stream.size());
  }
}

TEST(StreamTest, NoMoreCharactersOfDamagedTextAreReadThanWereAskedFor) {
  Stream stream = binary("\xFF\x9F\xBAz\xF0\x80\x80\x80");
  stream.set_type(StreamType::kText);
  stream.set_charset(u"utf-8");
  EXPECT_EQ(stream.read_text(1), u"\uFFFD");
  EXPECT_EQ(stream.position(), 1);
  EXPECT_EQ(stream.read_text(3), u"\uFFFD\uFFFDz");
  EXPECT_EQ(stream.read_text(2), u"\uFFFD\uFFFD");
  EXPECT_EQ(stream.read_text(), u"\uFFFD\uFFFD");
}

TEST(StreamTest, DamagedUnicodeTextIsReadAsFarAsItGoes) {
  Stream utf8 = binary("a\xFF\xC3z\xE2\x82");
  utf8.set_type(StreamType::kText);
  utf8.set_charset(u"utf-8");
  EXPECT_EQ(utf8.read_text(2), u"a\uFFFD");
  EXPECT_EQ(utf8.read_text().substr(0, 2), u"\uFFFDz");
  Stream utf16 = binary("a");
  utf16.set_type(StreamType::kText);
  utf16.set_charset(u"unicode");
  EXPECT_EQ(utf16.read_text(1), u"a");
}

// --- Copying -----------------------------------------------------------------------------------

TEST(StreamTest, CopyToMovesBytesAndBothPositions) {
  Stream source = binary("abcdef");
  Stream target = binary("123456");
  source.set_position(1);
  target.set_position(4);
  source.copy_to(target, 3);
  EXPECT_EQ(source.position(), 4);
  EXPECT_EQ(target.position(), 7);
  target.set_position(0);
  EXPECT_EQ(target.read(), bytes("1234bcd"));
  source.copy_to(target);
  EXPECT_EQ(source.position(), 6);
  EXPECT_EQ(target.size(), 9);
}

TEST(StreamTest, TextIsCopiedIntoABinaryTargetByItsBytes) {
  Stream source = text(u"naïve");
  Stream target = binary();
  source.copy_to(target, kReadAll);
  target.set_position(0);
  EXPECT_EQ(target.read(), bytes("na\xEFve"));
  EXPECT_EQ(source.position(), 5);
  Stream marked = text(u"é", u"utf-8");
  Stream second = binary();
  marked.copy_to(second, 1);
  second.set_position(0);
  EXPECT_EQ(second.read(), bytes("\xEF\xBB\xBF\xC3\xA9"));
}

TEST(StreamTest, TextIsCopiedIntoATextTargetByItsCharacters) {
  Stream source = text(u"xé", u"utf-8");
  Stream target = text(u"");
  source.copy_to(target);
  EXPECT_EQ(raw(target), bytes("x\xE9"));
}

TEST(StreamTest, BytesAreNotCopiedIntoText) {
  Stream source = binary("abc");
  Stream target = text(u"");
  EXPECT_EQ(error_number_of([&] { source.copy_to(target); }), 3219);
  EXPECT_EQ(error_number_of([&] { source.copy_to(source); }), 3219);
  Stream other = binary();
  EXPECT_EQ(error_number_of([&] { source.copy_to(other, -2); }), 3001);
  EXPECT_EQ(source.position(), 0);
}

}  // namespace
}  // namespace tarnwick::ado
