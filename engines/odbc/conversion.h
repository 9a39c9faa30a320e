#pragma once

#include <cstddef>
#include <span>

#include "ado/row_buffer.h"
#include "engines/odbc/odbc_api.h"
#include "runtime/date.h"

namespace tarnwick::odbc {

// Types of SQL Server that ODBC's headers do not know; numbers from the driver's public header.
inline constexpr SQLSMALLINT kSqlVariant = -150;
inline constexpr SQLSMALLINT kSqlUserType = -151;
inline constexpr SQLSMALLINT kSqlXml = -152;
inline constexpr SQLSMALLINT kSqlTime2 = -154;
inline constexpr SQLSMALLINT kSqlTimestampOffset = -155;

/// A column as the driver describes it.
struct SqlType {
  SQLSMALLINT code = SQL_UNKNOWN_TYPE;
  SQLULEN size = 0;        // characters or bytes; 0 where there is no limit
  SQLSMALLINT digits = 0;  // of the fraction of a second or of a number
};

/// How values of a column are fetched.
struct Transfer {
  enum class Form {
    kBool,
    kInt16,
    kInt32,
    kInt64,
    kDouble,
    kTimestamp,
    kDate,
    kTime,
    kText,
    kBytes
  };
  Form form = Form::kText;
  SQLSMALLINT c_type = SQL_C_WCHAR;
  /// Bytes that a value may take, a text's closing NUL included; 0 for a long value, which is read
  /// in parts.
  std::size_t width = 0;
};

/// The longest text or binary value that is fetched whole, in bytes; longer columns are read in
/// parts, so that the memory for a block of rows stays small.
inline constexpr std::size_t kLongestWholeValue = 8000;

[[nodiscard]] Transfer transfer_of(const SqlType& type);

[[nodiscard]] bool is_binary(SQLSMALLINT sql_type);
/// Types of one byte a character: char, varchar, text.
[[nodiscard]] bool is_narrow_text(SQLSMALLINT sql_type);

/// The automation date, the fraction of a second in full: a double tells times half a microsecond
/// apart. Throws AdoError kDataConversion for what is no day, or outside years 100 to 9999.
[[nodiscard]] Date date_of(const SQL_TIMESTAMP_STRUCT& time);
[[nodiscard]] Date date_of(const SQL_DATE_STRUCT& date);
[[nodiscard]] Date date_of(const SQL_TIME_STRUCT& time);

/// The nearest time with at most `digits` digits behind the second (0 to 6; more are not in a
/// date). Throws AdoError kDataConversion outside years 100 to 9999.
[[nodiscard]] SQL_TIMESTAMP_STRUCT timestamp_of(Date date, int digits);

/// Appends a value that was fetched whole; `length` is its indicator. Throws AdoError
/// kDataConversion for a value that did not fit: a driver that delivers more than it described.
void append_value(ado::RowBuffer& rows, const Transfer& transfer, const std::byte* value,
                  SQLLEN length);

}  // namespace tarnwick::odbc
