#pragma once

#include <deque>

#include "ado/row_buffer.h"
#include "engines/odbc/conversion.h"
#include "engines/odbc/handles.h"

namespace tarnwick::odbc {

/// The parameters of one statement. Texts and bytes are not copied: what they were added from must
/// outlive the execution; long ones go to the driver in pieces while it runs.
class Parameters final {
 public:
  Parameters() = default;
  Parameters(const Parameters&) = delete;
  Parameters& operator=(const Parameters&) = delete;

  /// `target` is the column that the value is meant for. Throws AdoError kDataConversion for a date
  /// that is none.
  void add(const Variant& value, const SqlType& target);
  /// A null beside values like `value`, declared as they are; `value` may be null itself.
  void add_null(const Variant& value, const SqlType& target);

  /// Runs `text` on `statement` with these parameters. Throws AdoError. Returns ODBC's result,
  /// which is SQL_NO_DATA where a driver says so of an update without rows.
  SQLRETURN execute(const Handle& statement, TextView text);

 private:
  struct Parameter {
    SQLSMALLINT c_type = SQL_C_WCHAR;
    SQLSMALLINT sql_type = SQL_WVARCHAR;
    SQLULEN size = 1;
    SQLSMALLINT digits = 0;
    union {
      unsigned char bit;
      SQLSMALLINT small;
      SQLINTEGER integer;
      SQLBIGINT big;
      SQLDOUBLE real;
      SQL_TIMESTAMP_STRUCT timestamp;
      SQL_DATE_STRUCT date;
    } fixed{};
    const void* run = nullptr;  // a text or bytes; null for a fixed value
    std::size_t bytes = 0;
    SQLLEN indicator = SQL_NULL_DATA;
  };

  void set_null(Parameter& parameter, const SqlType& target);
  void set_date(Parameter& parameter, Date date, const SqlType& target);
  void set_run(Parameter& parameter, const void* data, std::size_t bytes);
  // `is_asked`: set once the driver has asked for a value.
  [[nodiscard]] SQLRETURN put_all(const Handle& statement, bool& is_asked);
  static void break_off(const Handle& statement, bool is_asked);
  [[nodiscard]] const Parameter& parameter_at(SQLPOINTER wanted) const;
  void put(const Handle& statement, const Parameter& parameter);

  std::deque<Parameter> parameters_;  // the driver keeps pointers to them
};

}  // namespace tarnwick::odbc
