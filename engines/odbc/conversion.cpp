#include "engines/odbc/conversion.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include "ado/error.h"
#include "runtime/error.h"

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;
using Form = Transfer::Form;

constexpr std::int64_t kSecondsPerDay = 86'400;
constexpr int kMostDigits = 6;

template <class T>
Transfer fixed(Form form, SQLSMALLINT c_type) {
  return {form, c_type, sizeof(T)};
}

// A driver without a limit for a column says 0, and some say -1 or a number beyond all sense.
Transfer text_of_size(SQLULEN characters) {
  const bool whole = characters > 0 && characters <= kLongestWholeValue / sizeof(SQLWCHAR);
  return {Form::kText, SQL_C_WCHAR, whole ? (characters + 1) * sizeof(SQLWCHAR) : 0};
}

Transfer bytes_of_size(SQLULEN bytes) {
  const bool whole = bytes > 0 && bytes <= kLongestWholeValue;
  return {Form::kBytes, SQL_C_BINARY, whole ? bytes : 0};
}

Date whole_day(int year, int month, int day) {
  try {
    return to_date(CivilTime{.year = year, .month = month, .day = day});
  } catch (const Error&) {
    throw AdoError(AdoErrorNumber::kDataConversion);
  }
}

Date at_second(Date day, double second) {
  const double fraction = second / static_cast<double>(kSecondsPerDay);
  // The time of day counts forward from midnight on both sides of the day zero.
  return Date{day.days < 0 ? day.days - fraction : day.days + fraction};
}

template <class T>
T read(const std::byte* value) {
  T result;
  std::memcpy(&result, value, sizeof result);
  return result;
}

/// The length in bytes of a text or binary value that had room for `capacity` bytes.
std::size_t whole_length(SQLLEN length, std::size_t capacity) {
  if (length >= 0 && static_cast<std::size_t>(length) <= capacity) {
    return static_cast<std::size_t>(length);
  }
  throw AdoError(AdoErrorNumber::kDataConversion,
                 u"The ODBC driver returned a longer value than it described.");
}

}  // namespace

bool is_binary(SQLSMALLINT sql_type) {
  return sql_type == SQL_BINARY || sql_type == SQL_VARBINARY || sql_type == SQL_LONGVARBINARY ||
         sql_type == kSqlUserType;
}

bool is_narrow_text(SQLSMALLINT sql_type) {
  return sql_type == SQL_CHAR || sql_type == SQL_VARCHAR || sql_type == SQL_LONGVARCHAR;
}

Transfer transfer_of(const SqlType& type) {
  switch (type.code) {
    case SQL_BIT:
      return fixed<unsigned char>(Form::kBool, SQL_C_BIT);
    case SQL_TINYINT:  // SQL Server's counts from 0 to 255
    case SQL_SMALLINT:
      return fixed<SQLSMALLINT>(Form::kInt16, SQL_C_SSHORT);
    case SQL_INTEGER:
      return fixed<SQLINTEGER>(Form::kInt32, SQL_C_SLONG);
    case SQL_BIGINT:
      return fixed<SQLBIGINT>(Form::kInt64, SQL_C_SBIGINT);
    case SQL_REAL:
    case SQL_FLOAT:
    case SQL_DOUBLE:
    case SQL_DECIMAL:
    case SQL_NUMERIC:
      return fixed<SQLDOUBLE>(Form::kDouble, SQL_C_DOUBLE);
    case SQL_TIMESTAMP:
    case SQL_TYPE_TIMESTAMP:
    case kSqlTimestampOffset:
      return fixed<SQL_TIMESTAMP_STRUCT>(Form::kTimestamp, SQL_C_TYPE_TIMESTAMP);
    case SQL_DATE:
    case SQL_TYPE_DATE:
      return fixed<SQL_DATE_STRUCT>(Form::kDate, SQL_C_TYPE_DATE);
    case SQL_TIME:
    case SQL_TYPE_TIME:
    case kSqlTime2:
      return fixed<SQL_TIME_STRUCT>(Form::kTime, SQL_C_TYPE_TIME);
    case SQL_BINARY:
    case SQL_VARBINARY:
      return bytes_of_size(type.size);
    case SQL_LONGVARBINARY:
    case kSqlUserType:
      return bytes_of_size(0);
    case SQL_CHAR:
    case SQL_VARCHAR:
    case SQL_WCHAR:
    case SQL_WVARCHAR:
    case SQL_GUID:
      return text_of_size(type.size);
    default:
      return text_of_size(0);
  }
}

Date date_of(const SQL_TIMESTAMP_STRUCT& time) {
  const double second = ((time.hour * 60 + time.minute) * 60 + time.second) +
                        static_cast<double>(time.fraction) / 1e9;
  return at_second(whole_day(time.year, time.month, time.day), second);
}

Date date_of(const SQL_DATE_STRUCT& date) { return whole_day(date.year, date.month, date.day); }

Date date_of(const SQL_TIME_STRUCT& time) {
  return at_second(Date{}, (time.hour * 60 + time.minute) * 60 + time.second);
}

SQL_TIMESTAMP_STRUCT timestamp_of(Date date, int digits) {
  if (!is_in_calendar(date)) throw AdoError(AdoErrorNumber::kDataConversion);
  std::int64_t units_per_second = 1;
  for (int i = 0; i < std::clamp(digits, 0, kMostDigits); ++i) units_per_second *= 10;
  const std::int64_t units_per_day = kSecondsPerDay * units_per_second;

  double whole = std::trunc(date.days);
  std::int64_t units =
      std::llround(std::abs(date.days - whole) * static_cast<double>(units_per_day));
  if (units == units_per_day) {
    units = 0;
    whole += 1.0;
  }
  SQL_TIMESTAMP_STRUCT result{};
  try {
    const CivilTime day = to_civil(Date{whole});
    result.year = static_cast<SQLSMALLINT>(day.year);
    result.month = static_cast<SQLUSMALLINT>(day.month);
    result.day = static_cast<SQLUSMALLINT>(day.day);
  } catch (const Error&) {
    throw AdoError(AdoErrorNumber::kDataConversion);
  }
  const std::int64_t second = units / units_per_second;
  result.hour = static_cast<SQLUSMALLINT>(second / 3600);
  result.minute = static_cast<SQLUSMALLINT>(second / 60 % 60);
  result.second = static_cast<SQLUSMALLINT>(second % 60);
  result.fraction =
      static_cast<SQLUINTEGER>(units % units_per_second * (1'000'000'000 / units_per_second));
  return result;
}

void append_value(ado::RowBuffer& rows, const Transfer& transfer, const std::byte* value,
                  SQLLEN length) {
  if (length == SQL_NULL_DATA) {
    rows.add_null();
    return;
  }
  switch (transfer.form) {
    case Form::kBool:
      rows.add_bool(read<unsigned char>(value) != 0);
      break;
    case Form::kInt16:
      rows.add_int16(read<SQLSMALLINT>(value));
      break;
    case Form::kInt32:
      rows.add_int32(static_cast<std::int32_t>(read<SQLINTEGER>(value)));
      break;
    case Form::kInt64:
      rows.add_int64(static_cast<std::int64_t>(read<SQLBIGINT>(value)));
      break;
    case Form::kDouble:
      rows.add_double(read<SQLDOUBLE>(value));
      break;
    case Form::kTimestamp:
      rows.add_date(date_of(read<SQL_TIMESTAMP_STRUCT>(value)));
      break;
    case Form::kDate:
      rows.add_date(date_of(read<SQL_DATE_STRUCT>(value)));
      break;
    case Form::kTime:
      rows.add_date(date_of(read<SQL_TIME_STRUCT>(value)));
      break;
    case Form::kText: {
      const std::size_t size = whole_length(length, transfer.width - sizeof(SQLWCHAR));
      rows.add_utf16({reinterpret_cast<const char16_t*>(value), size / sizeof(char16_t)});
      break;
    }
    case Form::kBytes:
      rows.add_bytes({value, whole_length(length, transfer.width)});
      break;
  }
}

}  // namespace tarnwick::odbc
