#include "runtime/conversions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::error_number_of;

Bytes bytes(std::initializer_list<int> values) {
  ByteBuffer result;
  for (const int value : values) result.push_back(static_cast<std::byte>(value));
  return result;
}

Variant text(TextView value) { return Text(value); }

TEST(IsNumeric, AcceptsBlanksSignDecimalsAndExponent) {
  for (const TextView form :
       {u"0", u"7", u"  42 ", u"-3", u"+3", u"1.", u"1.5", u".5", u"-.5", u"1e3", u"1E+3", u"1d-3",
        u"1.D3", u".5e1", u"00012", u"32768", u"1e999", u" -1.25E-2 "}) {
    EXPECT_TRUE(is_numeric(form)) << to_display_utf8(form);
  }
}

TEST(IsNumeric, RefusesEverythingElse) {
  for (const TextView form :
       {u"",    u" ",   u".",        u"-",   u"+.",    u"e3",     u".e3",   u"1e",    u"1e+",
        u"1 2", u"- 1", u"--1",      u"1-",  u"1,000", u"$1",     u"&H10",  u"0x10",  u"1f",
        u"inf", u"nan", u"Infinity", u"\t1", u"1\r\n", u"\u0661", u"1.2.3", u"1e1.5", u"\u00A01"}) {
    EXPECT_FALSE(is_numeric(form)) << to_display_utf8(form);
  }
  EXPECT_FALSE(is_numeric(TextView(u"1\0", 2)));
}

TEST(ToInt16, RoundsHalfToEven) {
  EXPECT_EQ(to_int16(0.5), 0);
  EXPECT_EQ(to_int16(1.5), 2);
  EXPECT_EQ(to_int16(2.5), 2);
  EXPECT_EQ(to_int16(-0.5), 0);
  EXPECT_EQ(to_int16(-1.5), -2);
  EXPECT_EQ(to_int16(2.500001), 3);
  EXPECT_EQ(to_int16(text(u"2.5")), 2);
  EXPECT_EQ(to_int16(text(u" 3.5 ")), 4);
}

TEST(ToInt16, OverflowsWithError6) {
  EXPECT_EQ(to_int16(text(u"32767")), 32767);
  EXPECT_EQ(to_int16(text(u"-32768.5")), -32768);
  EXPECT_EQ(to_int16(std::int32_t{-32768}), -32768);
  for (const Variant& value :
       {text(u"32768"), text(u"-32769"), Variant(32767.5), Variant(std::int32_t{40000}),
        Variant(std::int64_t{1} << 40), Variant(Date{45352.0}), text(u"1e400"), text(u"-1e400"),
        Variant(std::numeric_limits<double>::quiet_NaN()),
        Variant(std::numeric_limits<double>::infinity())}) {
    EXPECT_EQ(error_number_of([&] { return to_int16(value); }), 6) << value.index();
  }
}

TEST(ToInt32, CoversItsWholeRange) {
  EXPECT_EQ(to_int32(text(u"2147483647")), 2147483647);
  EXPECT_EQ(to_int32(text(u"-2147483648")), -2147483647 - 1);
  EXPECT_EQ(to_int32(std::int32_t{-2147221504}), -2147221504);
  EXPECT_EQ(to_int32(std::int16_t{-5}), -5);
  EXPECT_EQ(error_number_of([] { return to_int32(2147483647.5); }), 6);
  EXPECT_EQ(error_number_of([] { return to_int32(std::int64_t{2147483648}); }), 6);
  EXPECT_EQ(error_number_of([] { return to_int32(text(u"-2147483649")); }), 6);
}

TEST(Numbers, FromEmptyAre0AndFromTrueMinus1) {
  EXPECT_EQ(to_int16(Empty{}), 0);
  EXPECT_EQ(to_int32(Empty{}), 0);
  EXPECT_EQ(to_double(Empty{}), 0.0);
  EXPECT_EQ(to_int16(true), -1);
  EXPECT_EQ(to_int32(false), 0);
  EXPECT_EQ(to_double(true), -1.0);
  EXPECT_EQ(to_double(Date{1.5}), 1.5);
  EXPECT_EQ(to_int32(Date{45352.75}), 45353);
}

TEST(Numbers, FromTextsOfAnotherFormAreError13) {
  for (const Variant& value : {text(u""), text(u"abc"), text(u"12x"), Variant(bytes({1}))}) {
    EXPECT_EQ(error_number_of([&] { return to_int16(value); }), 13);
    EXPECT_EQ(error_number_of([&] { return to_int32(value); }), 13);
    EXPECT_EQ(error_number_of([&] { return to_double(value); }), 13);
    EXPECT_EQ(error_number_of([&] { return to_bool(value); }), 13);
  }
}

TEST(ToDouble, ReadsDecimalsAndExponents) {
  EXPECT_EQ(to_double(text(u"1.25")), 1.25);
  EXPECT_EQ(to_double(text(u"-1.5E3")), -1500.0);
  EXPECT_EQ(to_double(text(u"25d-2")), 0.25);
  EXPECT_EQ(to_double(text(u"+.5")), 0.5);
  EXPECT_EQ(to_double(text(u"5.")), 5.0);
  EXPECT_EQ(to_double(text(u"0.1")), 0.1);
  EXPECT_EQ(to_double(text(u"1.7976931348623157e308")), std::numeric_limits<double>::max());
  EXPECT_EQ(to_double(std::int64_t{9007199254740992}), 9007199254740992.0);
}

TEST(ToDouble, OverflowsWithError6AndUnderflowsTo0) {
  EXPECT_EQ(error_number_of([] { return to_double(text(u"1e309")); }), 6);
  EXPECT_EQ(error_number_of([] { return to_double(text(u"1e+309")); }), 6);
  EXPECT_EQ(error_number_of([] { return to_double(text(u"-1e99999999999999999999")); }), 6);
  EXPECT_EQ(error_number_of([] { return to_double(Text(400, u'9')); }), 6);
  EXPECT_EQ(to_double(text(u"1e-400")), 0.0);
  EXPECT_EQ(to_double(text(u"1e-99999999999999999999")), 0.0);
  EXPECT_EQ(to_double(text(u"0e99999999999999999999")), 0.0);
  EXPECT_EQ(to_double(text(u"0.000e400")), 0.0);
  EXPECT_EQ(to_double(join({u"0.", Text(400, u'0'), u"1e401"})), 1.0);
  EXPECT_EQ(to_double(join({u"1", Text(400, u'0'), u"e-400"})), 1.0);
}

TEST(ToBool, IsTrueForEveryNumberOtherThan0) {
  EXPECT_TRUE(to_bool(std::int16_t{-1}));
  EXPECT_TRUE(to_bool(std::int32_t{7}));
  EXPECT_TRUE(to_bool(0.25));
  EXPECT_TRUE(to_bool(Date{1.0}));
  EXPECT_TRUE(to_bool(true));
  EXPECT_FALSE(to_bool(std::int64_t{0}));
  EXPECT_FALSE(to_bool(0.0));
  EXPECT_FALSE(to_bool(Empty{}));
  EXPECT_FALSE(to_bool(false));
}

TEST(ToBool, ReadsTheWordsInAnyCaseAndNumericTexts) {
  EXPECT_TRUE(to_bool(text(u"True")));
  EXPECT_TRUE(to_bool(text(u"tRUE")));
  EXPECT_FALSE(to_bool(text(u"FALSE")));
  EXPECT_TRUE(to_bool(text(u"-1")));
  EXPECT_FALSE(to_bool(text(u" 0.0 ")));
  EXPECT_EQ(error_number_of([] { return to_bool(text(u"yes")); }), 13);
}

TEST(ToDate, TakesNumbersAsDays) {
  EXPECT_EQ(to_date(Variant(45352.75)).days, 45352.75);
  EXPECT_EQ(to_date(Variant(std::int32_t{45352})).days, 45352.0);
  EXPECT_EQ(to_date(Variant(Date{1.5})).days, 1.5);
  EXPECT_EQ(to_date(Variant(Empty{})).days, 0.0);
  EXPECT_EQ(to_date(text(u"2024-03-01T18:00:00")).days, 45352.75);
}

TEST(ToDate, RefusesNumbersOutsideTheCalendarAndOtherTexts) {
  EXPECT_EQ(to_date(Variant(-657434.0)).days, -657434.0);
  EXPECT_EQ(error_number_of([] { return to_date(Variant(2958466.0)); }), 6);
  EXPECT_EQ(error_number_of([] { return to_date(Variant(-657435.0)); }), 6);
  EXPECT_EQ(error_number_of([] { return to_date(text(u"3/1/2024")); }), 13);
  EXPECT_EQ(error_number_of([] { return to_date(Variant(bytes({1, 2}))); }), 13);
}

TEST(ToText, WritesEachType) {
  EXPECT_EQ(to_text(Variant(Empty{})), u"");
  EXPECT_EQ(to_text(Variant(true)), u"True");
  EXPECT_EQ(to_text(Variant(false)), u"False");
  EXPECT_EQ(to_text(Variant(std::int16_t{-7})), u"-7");
  EXPECT_EQ(to_text(Variant(std::int32_t{123456})), u"123456");
  EXPECT_EQ(to_text(Variant(std::int64_t{9223372036854775807})), u"9223372036854775807");
  EXPECT_EQ(to_text(Variant(Date{45352.5})), u"3/1/2024 12:00:00 PM");
  EXPECT_EQ(to_text(text(u"as it is ")), u"as it is ");
  EXPECT_EQ(to_text(Variant(bytes({0x41, 0x00, 0xAC, 0x20, 0x42}))), u"A\u20ACB");
}

TEST(ToText, WritesDoublesWithUpTo15SignificantDigits) {
  EXPECT_EQ(to_text(Variant(0.0)), u"0");
  EXPECT_EQ(to_text(Variant(-0.0)), u"0");
  EXPECT_EQ(to_text(Variant(1.0)), u"1");
  EXPECT_EQ(to_text(Variant(-2.5)), u"-2.5");
  EXPECT_EQ(to_text(Variant(0.1)), u"0.1");
  EXPECT_EQ(to_text(Variant(1.0 / 3.0)), u"0.333333333333333");
  EXPECT_EQ(to_text(Variant(123456789012345.0)), u"123456789012345");
  EXPECT_EQ(to_text(Variant(1e15)), u"1E+15");
  EXPECT_EQ(to_text(Variant(1.5e-7)), u"1.5E-07");
}

TEST(ToText, MovesATextOut) {
  Variant value = Text(100, u'x');
  const char16_t* units = std::get<Text>(value).data();
  const Text moved = to_text(std::move(value));
  EXPECT_EQ(moved.data(), units);
}

TEST(ToBytes, TakesBytesAsTheyAreAndTextsAsTheirUnits) {
  EXPECT_EQ(to_bytes(Variant(bytes({1, 0, 255}))), bytes({1, 0, 255}));
  EXPECT_EQ(to_bytes(text(u"A\u20AC")), bytes({0x41, 0x00, 0xAC, 0x20}));
  EXPECT_EQ(error_number_of([] { return to_bytes(Variant(1.0)); }), 13);
  EXPECT_EQ(error_number_of([] { return to_bytes(Variant(Empty{})); }), 13);
}

TEST(Conversions, OfNullAreError94) {
  const Variant null = Null{};
  EXPECT_EQ(error_number_of([&] { return to_int16(null); }), 94);
  EXPECT_EQ(error_number_of([&] { return to_int32(null); }), 94);
  EXPECT_EQ(error_number_of([&] { return to_double(null); }), 94);
  EXPECT_EQ(error_number_of([&] { return to_bool(null); }), 94);
  EXPECT_EQ(error_number_of([&] { return to_date(null); }), 94);
  EXPECT_EQ(error_number_of([&] { return to_text(null); }), 94);
  EXPECT_EQ(error_number_of([] { return to_bytes(Variant(Null{})); }), 94);
}

}  // namespace
}  // namespace tarnwick
