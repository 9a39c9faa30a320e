#include "runtime/date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::error_number_of;

CivilTime civil(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                int millisecond = 0) {
  return {year, month, day, hour, minute, second, millisecond};
}

TEST(Date, CountsDaysFrom30December1899) {
  EXPECT_EQ(to_date(civil(1899, 12, 30)).days, 0.0);
  EXPECT_EQ(to_date(civil(1899, 12, 31)).days, 1.0);
  EXPECT_EQ(to_date(civil(1900, 1, 1)).days, 2.0);
  EXPECT_EQ(to_date(civil(2000, 2, 29)).days, 36585.0);
  EXPECT_EQ(to_date(civil(2024, 3, 1)).days, 45352.0);
  EXPECT_EQ(to_date(civil(100, 1, 1)).days, -657434.0);
  EXPECT_EQ(to_date(civil(9999, 12, 31)).days, 2958465.0);
}

TEST(Date, HoldsTheTimeOfDayAsTheFraction) {
  EXPECT_EQ(to_date(civil(2024, 3, 1, 12)).days, 45352.5);
  EXPECT_EQ(to_date(civil(2024, 3, 1, 6)).days, 45352.25);
  EXPECT_EQ(to_date(civil(1899, 12, 30, 18)).days, 0.75);
  EXPECT_EQ(to_civil(Date{45352.75}), civil(2024, 3, 1, 18));
}

TEST(Date, CountsTheFractionForwardFromMidnightAlsoBeforeTheFirstDay) {
  EXPECT_EQ(to_date(civil(1899, 12, 29, 6)).days, -1.25);
  EXPECT_EQ(to_civil(Date{-1.25}), civil(1899, 12, 29, 6));
  EXPECT_EQ(to_civil(Date{-1.0}), civil(1899, 12, 29));
  EXPECT_EQ(to_civil(Date{-0.25}), civil(1899, 12, 30, 6));
}

TEST(Date, IsZeroOnlyForTheZeroDate) {
  EXPECT_TRUE(Date{}.is_zero());
  EXPECT_FALSE(Date{0.5}.is_zero());
}

TEST(Date, KeepsEveryMillisecondOfADay) {
  for (const int year : {100, 1899, 1900, 2024, 9999}) {
    for (int ms = 0; ms < 86'400'000; ms += 12'347) {
      const CivilTime point =
          civil(year, 12, 29, ms / 3'600'000, ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
      ASSERT_EQ(to_civil(to_date(point)), point) << year << " " << ms;
    }
  }
}

TEST(Date, KeepsEveryDayOfTheCalendar) {
  for (int days = -657434; days <= 2958465; ++days) {
    const CivilTime point = to_civil(Date{static_cast<double>(days)});
    ASSERT_EQ(to_date(point).days, days);
    ASSERT_EQ(point.hour, 0);
  }
}

TEST(ToCivil, RoundsToTheNearestMillisecondAndCarriesIntoTheNextDay) {
  const double half_millisecond = 0.5 / 86'400'000.0;
  EXPECT_EQ(to_civil(Date{45353.0 - half_millisecond / 2}), civil(2024, 3, 2));
  EXPECT_EQ(to_civil(Date{45353.0 - half_millisecond * 4}), civil(2024, 3, 1, 23, 59, 59, 998));
  EXPECT_EQ(to_civil(Date{-1.0 - (1.0 - half_millisecond / 2)}), civil(1899, 12, 30));
}

TEST(ToDate, RefusesWhatIsNotInTheCalendarWithError5) {
  for (const CivilTime& point :
       {civil(2023, 2, 29), civil(1900, 2, 29), civil(2024, 13, 1), civil(2024, 0, 1),
        civil(2024, 1, 0), civil(2024, 1, 32), civil(2024, 4, 31), civil(99, 12, 31),
        civil(10000, 1, 1), civil(2024, 257, 1), civil(2024, 1, 257), civil(2024, -1, 1),
        civil(2024, 1, 1, 24), civil(2024, 1, 1, -1), civil(2024, 1, 1, 0, 60),
        civil(2024, 1, 1, 0, 0, 60), civil(2024, 1, 1, 0, 0, 0, 1000),
        civil(2024, 1, 1, 0, 0, 0, -1)}) {
    EXPECT_EQ(error_number_of([&] { return to_date(point); }), 5)
        << point.year << "-" << point.month << "-" << point.day << " " << point.hour;
  }
}

TEST(ToCivil, RefusesDatesOutsideTheYears100To9999WithError5) {
  EXPECT_EQ(to_civil(Date{-657434.75}), civil(100, 1, 1, 18));
  EXPECT_EQ(to_civil(Date{2958465.75}), civil(9999, 12, 31, 18));
  for (const double days :
       {-657435.0, 2958466.0, 1e300, -1e300, std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN(), std::nextafter(2958466.0, 0.0)}) {
    EXPECT_EQ(error_number_of([&] { return to_civil(Date{days}); }), 5) << days;
  }
}

TEST(ToText, WritesMonthDayYearAndATwelveHourClock) {
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 9, 5, 7))), u"3/1/2024 9:05:07 AM");
  EXPECT_EQ(to_text(to_date(civil(2024, 12, 31, 23, 59, 59))), u"12/31/2024 11:59:59 PM");
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 12, 0, 0))), u"3/1/2024 12:00:00 PM");
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 0, 0, 1))), u"3/1/2024 12:00:01 AM");
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 0, 30, 0))), u"3/1/2024 12:30:00 AM");
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 13, 30, 0))), u"3/1/2024 1:30:00 PM");
  EXPECT_EQ(to_text(to_date(civil(101, 3, 1))), u"3/1/101");
}

TEST(ToText, LeavesTheTimeOutAtMidnight) {
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1))), u"3/1/2024");
  EXPECT_EQ(to_text(Date{}), u"12/30/1899");
  EXPECT_EQ(to_text(Date{0.5}), u"12/30/1899 12:00:00 PM");
}

TEST(ToText, RoundsToTheNearestSecond) {
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 9, 5, 7, 499))), u"3/1/2024 9:05:07 AM");
  EXPECT_EQ(to_text(to_date(civil(2024, 3, 1, 9, 5, 7, 501))), u"3/1/2024 9:05:08 AM");
  EXPECT_EQ(to_text(to_date(civil(2024, 2, 29, 23, 59, 59, 600))), u"3/1/2024");
}

TEST(IsoText, IsWrittenInFullAndEmptyForTheZeroDate) {
  EXPECT_EQ(to_iso_text(to_date(civil(2024, 3, 1, 9, 5, 7))), u"2024-03-01 09:05:07");
  EXPECT_EQ(to_iso_text(to_date(civil(2024, 3, 1))), u"2024-03-01 00:00:00");
  EXPECT_EQ(to_iso_text(to_date(civil(101, 1, 2, 23))), u"0101-01-02 23:00:00");
  EXPECT_EQ(to_iso_text(Date{}), u"");
}

TEST(IsoText, IsReadInThreeForms) {
  EXPECT_EQ(date_from_iso_text(u"2024-03-01 18:00:00").days, 45352.75);
  EXPECT_EQ(date_from_iso_text(u"2024-03-01T18:00:00").days, 45352.75);
  EXPECT_EQ(date_from_iso_text(u"2024-03-01").days, 45352.0);
  EXPECT_EQ(date_from_iso_text(u"1899-12-30").days, 0.0);
}

TEST(IsoText, InAnyOtherFormIsError13) {
  for (const TextView text :
       {u"", u"2024-3-1", u"2024-03-01 ", u" 2024-03-01", u"2024-03-01 18:00", u"2024/03/01",
        u"2024-03-01t18:00:00", u"2024-03-01 18:00:00Z", u"2024-03-01 18:00:0x", u"2024-02-30",
        u"2024-03-01 24:00:00", u"0099-01-01", u"3/1/2024", u"+024-03-01", u"2024-03-0\u0661"}) {
    EXPECT_EQ(error_number_of([&] { return date_from_iso_text(text); }), 13)
        << to_display_utf8(text);
  }
}

TEST(LocalNow, IsThePresentLocalTimeToTheSecond) {
  const std::time_t before = std::time(nullptr);
  const CivilTime now = to_civil(local_now());
  const std::time_t after = std::time(nullptr);
  EXPECT_EQ(now.millisecond, 0);
  std::tm local{};
  local.tm_year = now.year - 1900;
  local.tm_mon = now.month - 1;
  local.tm_mday = now.day;
  local.tm_hour = now.hour;
  local.tm_min = now.minute;
  local.tm_sec = now.second;
  local.tm_isdst = -1;
  const std::time_t time = std::mktime(&local);
  EXPECT_GE(time, before);
  EXPECT_LE(time, after);
}

}  // namespace
}  // namespace tarnwick
