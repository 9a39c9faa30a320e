#include "engines/odbc/conversion.h"

#include <gtest/gtest.h>

#include <cmath>

#include "ado/error.h"

namespace tarnwick::odbc {
namespace {

using Form = Transfer::Form;

SQL_TIMESTAMP_STRUCT time(SQLSMALLINT year, SQLUSMALLINT month, SQLUSMALLINT day, SQLUSMALLINT hour,
                          SQLUSMALLINT minute, SQLUSMALLINT second, SQLUINTEGER nanoseconds) {
  return {year, month, day, hour, minute, second, nanoseconds};
}

bool same(const SQL_TIMESTAMP_STRUCT& a, const SQL_TIMESTAMP_STRUCT& b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.fraction == b.fraction;
}

TEST(Conversion, EverySqlServerTypeHasItsForm) {
  const auto form = [](SQLSMALLINT code) { return transfer_of({.code = code, .size = 20}).form; };
  EXPECT_EQ(form(SQL_BIT), Form::kBool);
  EXPECT_EQ(form(SQL_TINYINT), Form::kInt16);
  EXPECT_EQ(form(SQL_SMALLINT), Form::kInt16);
  EXPECT_EQ(form(SQL_INTEGER), Form::kInt32);
  EXPECT_EQ(form(SQL_BIGINT), Form::kInt64);
  EXPECT_EQ(form(SQL_REAL), Form::kDouble);
  EXPECT_EQ(form(SQL_FLOAT), Form::kDouble);
  EXPECT_EQ(form(SQL_DECIMAL), Form::kDouble);
  EXPECT_EQ(form(SQL_NUMERIC), Form::kDouble);
  EXPECT_EQ(form(SQL_TYPE_TIMESTAMP), Form::kTimestamp);
  // The words of ODBC 2.
  EXPECT_EQ(form(SQL_TIMESTAMP), Form::kTimestamp);
  EXPECT_EQ(form(SQL_DATE), Form::kDate);
  EXPECT_EQ(form(SQL_TIME), Form::kTime);
  EXPECT_EQ(form(kSqlTimestampOffset), Form::kTimestamp);
  EXPECT_EQ(form(SQL_TYPE_DATE), Form::kDate);
  EXPECT_EQ(form(SQL_TYPE_TIME), Form::kTime);
  EXPECT_EQ(form(kSqlTime2), Form::kTime);
  EXPECT_EQ(form(SQL_BINARY), Form::kBytes);
  EXPECT_EQ(form(SQL_VARBINARY), Form::kBytes);
  EXPECT_EQ(form(SQL_LONGVARBINARY), Form::kBytes);
  EXPECT_EQ(form(kSqlUserType), Form::kBytes);
  for (const int code : {SQL_CHAR, SQL_VARCHAR, SQL_LONGVARCHAR, SQL_WCHAR, SQL_WVARCHAR,
                         SQL_WLONGVARCHAR, SQL_GUID, int{kSqlXml}, int{kSqlVariant}}) {
    EXPECT_EQ(form(static_cast<SQLSMALLINT>(code)), Form::kText) << code;
  }
}

TEST(Conversion, TypesAreToldApartWhereTheirParametersDiffer) {
  for (const int code : {SQL_BINARY, SQL_VARBINARY, SQL_LONGVARBINARY, int{kSqlUserType}}) {
    EXPECT_TRUE(is_binary(static_cast<SQLSMALLINT>(code))) << code;
  }
  for (const int code : {SQL_CHAR, SQL_VARCHAR, SQL_LONGVARCHAR}) {
    EXPECT_TRUE(is_narrow_text(static_cast<SQLSMALLINT>(code))) << code;
    EXPECT_FALSE(is_binary(static_cast<SQLSMALLINT>(code))) << code;
  }
  EXPECT_FALSE(is_narrow_text(SQL_WVARCHAR));
}

TEST(Conversion, ShortColumnsAreFetchedWholeAndLongOnesInParts) {
  const auto width = [](SQLSMALLINT code, SQLULEN size) {
    return transfer_of({.code = code, .size = size}).width;
  };
  EXPECT_EQ(width(SQL_WVARCHAR, 50), 102u);
  EXPECT_EQ(width(SQL_WVARCHAR, 4000), 8002u);
  EXPECT_EQ(width(SQL_VARCHAR, 8000), 0u);
  EXPECT_EQ(width(SQL_VARBINARY, 8), 8u);
  EXPECT_EQ(width(SQL_VARBINARY, 8000), 8000u);
  EXPECT_EQ(width(SQL_LONGVARBINARY, 8), 0u);
  EXPECT_EQ(width(SQL_WLONGVARCHAR, 8), 0u);
  // No limit is told as 0, as -1 or as a number that no value reaches.
  for (const SQLULEN size : {SQLULEN{0}, static_cast<SQLULEN>(-1), SQLULEN{2147483647}}) {
    EXPECT_EQ(width(SQL_WVARCHAR, size), 0u);
    EXPECT_EQ(width(SQL_VARBINARY, size), 0u);
  }
}

TEST(Conversion, ATimeBecomesAnAutomationDateWithItsWholeFraction) {
  EXPECT_EQ(date_of(time(1899, 12, 30, 0, 0, 0, 0)).days, 0.0);
  EXPECT_EQ(date_of(time(2023, 12, 24, 18, 0, 0, 0)).days, 45284.75);
  EXPECT_EQ(date_of(time(1899, 12, 29, 6, 0, 0, 0)).days, -1.25);
  EXPECT_EQ(date_of(time(1753, 1, 1, 0, 0, 0, 0)).days, -53688.0);
  EXPECT_EQ(date_of(time(2023, 12, 24, 0, 0, 0, 123456700)).days, 45284.0 + 0.1234567 / 86400);
  const double apart = date_of(time(2023, 12, 24, 0, 0, 0, 1000)).days - 45284.0;
  EXPECT_NEAR(apart * 86400e6, 1.0, 0.4);
}

TEST(Conversion, AnAutomationDateBecomesTheNearestTimeOfTheColumnsPrecision) {
  const Date date = date_of(time(2023, 12, 24, 13, 14, 15, 123456000));
  EXPECT_TRUE(same(timestamp_of(date, 6), time(2023, 12, 24, 13, 14, 15, 123456000)));
  EXPECT_TRUE(same(timestamp_of(date, 7), time(2023, 12, 24, 13, 14, 15, 123456000)));
  EXPECT_TRUE(same(timestamp_of(date, 3), time(2023, 12, 24, 13, 14, 15, 123000000)));
  EXPECT_TRUE(same(timestamp_of(date, 0), time(2023, 12, 24, 13, 14, 15, 0)));
  EXPECT_TRUE(same(timestamp_of(Date{-1.25}, 0), time(1899, 12, 29, 6, 0, 0, 0)));
  EXPECT_TRUE(same(timestamp_of(Date{0.0}, 3), time(1899, 12, 30, 0, 0, 0, 0)));
}

TEST(Conversion, ATimeJustBeforeMidnightRoundsIntoTheNextDay) {
  const Date date{45284.0 + (86400.0 - 0.0004) / 86400.0};
  EXPECT_TRUE(same(timestamp_of(date, 3), time(2023, 12, 25, 0, 0, 0, 0)));
  EXPECT_TRUE(same(timestamp_of(Date{-1.0 - (86400.0 - 0.0004) / 86400.0}, 3),
                   time(1899, 12, 30, 0, 0, 0, 0)));
}

TEST(Conversion, EveryTickOfSqlServersDatetimeComesBackAsItWas) {
  for (SQLUINTEGER tick = 0; tick < 300; ++tick) {
    // The server gives a tick out rounded to the millisecond or in full.
    const auto milliseconds = static_cast<SQLUINTEGER>(std::llround(tick * 1000.0 / 300.0));
    const auto full = static_cast<SQLUINTEGER>(std::llround(tick * 1e9 / 300.0));
    for (const SQLUINTEGER nanoseconds : {milliseconds * 1'000'000, full}) {
      const Date date = date_of(time(2023, 12, 24, 23, 59, 59, nanoseconds));
      EXPECT_TRUE(
          same(timestamp_of(date, 3), time(2023, 12, 24, 23, 59, 59, milliseconds * 1'000'000)))
          << tick;
    }
  }
}

TEST(Conversion, WhatIsNoDayIsRefused) {
  EXPECT_THROW((void)date_of(time(2023, 2, 30, 0, 0, 0, 0)), ado::AdoError);
  EXPECT_THROW((void)date_of(time(1, 1, 1, 0, 0, 0, 0)), ado::AdoError);
  EXPECT_THROW((void)timestamp_of(Date{3000000.0}, 3), ado::AdoError);
  EXPECT_THROW((void)timestamp_of(Date{std::nan("")}, 3), ado::AdoError);
  EXPECT_THROW((void)timestamp_of(Date{HUGE_VAL}, 3), ado::AdoError);
}

TEST(Conversion, ADateAloneIsAtMidnightAndATimeAloneOnDayZero) {
  EXPECT_EQ(date_of(SQL_DATE_STRUCT{2023, 12, 24}).days, 45284.0);
  EXPECT_EQ(date_of(SQL_TIME_STRUCT{6, 0, 0}).days, 0.25);
}

TEST(Conversion, AValueLongerThanDescribedIsAnErrorAndNotCutOff) {
  ado::RowBuffer rows(1);
  const Transfer transfer = transfer_of({.code = SQL_WVARCHAR, .size = 3});
  const char16_t value[] = u"abc";
  const auto* bytes = reinterpret_cast<const std::byte*>(value);
  append_value(rows, transfer, bytes, 6);
  EXPECT_THROW(append_value(rows, transfer, bytes, 8), ado::AdoError);
  EXPECT_THROW(append_value(rows, transfer, bytes, SQL_NO_TOTAL), ado::AdoError);
}

}  // namespace
}  // namespace tarnwick::odbc
