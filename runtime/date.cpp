#include "runtime/date.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <optional>

#include "runtime/error.h"

namespace tarnwick {
namespace {

constexpr std::chrono::sys_days kDayZero =
    std::chrono::year{1899} / std::chrono::December / std::chrono::day{30};
constexpr std::chrono::sys_days kFirstDay =
    std::chrono::year{100} / std::chrono::January / std::chrono::day{1};
constexpr std::chrono::sys_days kLastDay =
    std::chrono::year{9999} / std::chrono::December / std::chrono::day{31};

constexpr std::int64_t kMillisecondsPerDay = 86'400'000;
constexpr std::int64_t kSecondsPerDay = 86'400;

constexpr double kFirstDays = static_cast<double>((kFirstDay - kDayZero).count());
constexpr double kLastDays = static_cast<double>((kLastDay - kDayZero).count());

/// The civil time, with the time of day rounded to the nearest of `units_per_day`.
CivilTime split(Date date, std::int64_t units_per_day) {
  if (!is_in_calendar(date)) throw Error(ErrorNumber::kInvalidProcedureCall);
  const double whole = std::trunc(date.days);
  const double fraction = std::abs(date.days - whole);
  std::int64_t units = std::llround(fraction * static_cast<double>(units_per_day));
  std::chrono::sys_days day = kDayZero + std::chrono::days{static_cast<int>(whole)};
  if (units == units_per_day) {
    units = 0;
    day += std::chrono::days{1};
    if (day > kLastDay) throw Error(ErrorNumber::kInvalidProcedureCall);
  }
  const std::int64_t milliseconds = units * (kMillisecondsPerDay / units_per_day);
  const std::chrono::year_month_day calendar{day};
  CivilTime civil;
  civil.year = static_cast<int>(calendar.year());
  civil.month = static_cast<int>(static_cast<unsigned>(calendar.month()));
  civil.day = static_cast<int>(static_cast<unsigned>(calendar.day()));
  civil.hour = static_cast<int>(milliseconds / 3'600'000);
  civil.minute = static_cast<int>(milliseconds / 60'000 % 60);
  civil.second = static_cast<int>(milliseconds / 1000 % 60);
  civil.millisecond = static_cast<int>(milliseconds % 1000);
  return civil;
}

Text padded(int number, std::size_t width) {
  const Text digits = decimal(number);
  return Text(width - std::min(width, digits.size()), u'0') + digits;
}

bool in_range(int number, int first, int last) { return number >= first && number <= last; }

/// The number that the digits at `position` make; all are known to be digits.
int read_digits(TextView text, std::size_t position, std::size_t width) {
  int number = 0;
  for (const char16_t c : text.substr(position, width)) number = number * 10 + (c - u'0');
  return number;
}

/// Nothing for a point outside the calendar or outside years 100 to 9999.
std::optional<Date> checked_date(const CivilTime& civil) {
  const std::chrono::year_month_day calendar{std::chrono::year{civil.year},
                                             std::chrono::month{static_cast<unsigned>(civil.month)},
                                             std::chrono::day{static_cast<unsigned>(civil.day)}};
  const bool valid = in_range(civil.year, 100, 9999) && in_range(civil.month, 1, 12) &&
                     in_range(civil.day, 1, 31) && calendar.ok() && in_range(civil.hour, 0, 23) &&
                     in_range(civil.minute, 0, 59) && in_range(civil.second, 0, 59) &&
                     in_range(civil.millisecond, 0, 999);
  if (!valid) return std::nullopt;
  const int milliseconds =
      ((civil.hour * 60 + civil.minute) * 60 + civil.second) * 1000 + civil.millisecond;
  const double day = static_cast<double>((std::chrono::sys_days{calendar} - kDayZero).count());
  const double fraction = milliseconds / static_cast<double>(kMillisecondsPerDay);
  return Date{day < 0 ? day - fraction : day + fraction};
}

std::tm local_time(std::time_t time) {
  std::tm local{};
#ifdef _WIN32
  localtime_s(&local, &time);
#else
  localtime_r(&time, &local);
#endif
  return local;
}

}  // namespace

bool is_in_calendar(Date date) {
  // The first day's fraction counts away from zero, so the day reaches nearly to the one before.
  return date.days > kFirstDays - 1.0 && date.days < kLastDays + 1.0;
}

Date to_date(const CivilTime& civil) {
  const std::optional<Date> date = checked_date(civil);
  if (!date) throw Error(ErrorNumber::kInvalidProcedureCall);
  return *date;
}

CivilTime to_civil(Date date) { return split(date, kMillisecondsPerDay); }

Text to_text(Date date) {
  const CivilTime civil = split(date, kSecondsPerDay);
  Text text = join({decimal(civil.month), u"/", decimal(civil.day), u"/", decimal(civil.year)});
  if (civil.hour == 0 && civil.minute == 0 && civil.second == 0) return text;
  return join({text, u" ", decimal((civil.hour + 11) % 12 + 1), u":", padded(civil.minute, 2), u":",
               padded(civil.second, 2), civil.hour < 12 ? u" AM" : u" PM"});
}

Text to_iso_text(Date date) {
  if (date.is_zero()) return {};
  const CivilTime civil = split(date, kSecondsPerDay);
  return join({padded(civil.year, 4), u"-", padded(civil.month, 2), u"-", padded(civil.day, 2),
               u" ", padded(civil.hour, 2), u":", padded(civil.minute, 2), u":",
               padded(civil.second, 2)});
}

Date date_from_iso_text(TextView text) {
  constexpr TextView kForm = u"dddd-dd-dd_dd:dd:dd";
  constexpr std::size_t kDateOnly = 10;
  const Error mismatch(ErrorNumber::kTypeMismatch);
  if (text.size() != kDateOnly && text.size() != kForm.size()) throw mismatch;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    const bool fits = kForm[i] == u'd'   ? c >= u'0' && c <= u'9'
                      : kForm[i] == u'_' ? c == u' ' || c == u'T'
                                         : c == kForm[i];
    if (!fits) throw mismatch;
  }
  CivilTime civil;
  civil.year = read_digits(text, 0, 4);
  civil.month = read_digits(text, 5, 2);
  civil.day = read_digits(text, 8, 2);
  if (text.size() == kForm.size()) {
    civil.hour = read_digits(text, 11, 2);
    civil.minute = read_digits(text, 14, 2);
    civil.second = read_digits(text, 17, 2);
  }
  const std::optional<Date> date = checked_date(civil);
  if (!date) throw mismatch;
  return *date;
}

Date local_now() {
  const std::tm local = local_time(std::time(nullptr));
  CivilTime civil;
  civil.year = local.tm_year + 1900;
  civil.month = local.tm_mon + 1;
  civil.day = local.tm_mday;
  civil.hour = local.tm_hour;
  civil.minute = local.tm_min;
  civil.second = std::min(local.tm_sec, 59);  // a leap second has no automation date
  return to_date(civil);
}

}  // namespace tarnwick
