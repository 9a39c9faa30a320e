#pragma once

#include <chrono>

#include "runtime/text.h"

namespace tarnwick {

/// An automation date: days since 30 December 1899, the time of day as the fraction. Before that
/// day the fraction still counts forward from midnight (-1.25 is 29 December 1899, 06:00).
struct Date {
  double days = 0.0;

  /// The zero date stands for "no date".
  [[nodiscard]] bool is_zero() const { return days == 0.0; }
  friend bool operator==(const Date&, const Date&) = default;
};

/// A point of the civil calendar, without a time zone. `millisecond` 0 to 999.
struct CivilTime {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  friend bool operator==(const CivilTime&, const CivilTime&) = default;
};

/// Whether the date lies in the years 100 to 9999, which is all that automation knows.
[[nodiscard]] bool is_in_calendar(Date date);

/// Throws Error 5 for a day outside the calendar or outside years 100 to 9999.
[[nodiscard]] Date to_date(const CivilTime& civil);

/// Rounded to the nearest millisecond. Throws Error 5 outside years 100 to 9999.
[[nodiscard]] CivilTime to_civil(Date date);

/// The default text form, the same on every machine: month/day/year without leading zeros, then a
/// blank and h:mm:ss on a 12-hour clock with AM or PM, left out at midnight exactly. Rounded to the
/// nearest second. Throws Error 5 outside years 100 to 9999.
[[nodiscard]] Text to_text(Date date);

/// "yyyy-mm-dd hh:mm:ss" (ISO 8601 with a blank); empty for the zero date. For people and machines.
/// Rounds and throws as to_text.
[[nodiscard]] Text to_iso_text(Date date);

/// Reads "yyyy-mm-dd hh:mm:ss", its date part alone, or the two joined by "T". Throws Error 13 for
/// anything else, the empty text too.
[[nodiscard]] Date date_from_iso_text(TextView text);

/// The present local date and time, to the second.
[[nodiscard]] Date local_now();

}  // namespace tarnwick
