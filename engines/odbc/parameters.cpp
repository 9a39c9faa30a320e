#include "engines/odbc/parameters.h"

#include <algorithm>
#include <type_traits>

#include "ado/error.h"

namespace tarnwick::odbc {
namespace {

// Longest text and binary value of SQL Server's ordinary types; what is longer is sent in pieces.
// Shorter ones are declared with these sizes too: the server keeps one plan for each declaration.
constexpr std::size_t kLongestText = 4000;
constexpr std::size_t kLongestBytes = 8000;
constexpr std::size_t kPiece = std::size_t{1} << 20;

// A time's digits where the column does not say: those of SQL Server's datetime.
constexpr int kDatetimeDigits = 3;
constexpr int kMostDigits = 6;
constexpr SQLULEN kSecondsWidth = 19;  // of "yyyy-mm-dd hh:mm:ss"

bool is_timestamp(SQLSMALLINT sql_type) {
  return sql_type == SQL_TYPE_TIMESTAMP || sql_type == SQL_TIMESTAMP;
}

bool is_date(SQLSMALLINT sql_type) { return sql_type == SQL_TYPE_DATE || sql_type == SQL_DATE; }

}  // namespace

void Parameters::add(const Variant& value, const SqlType& target) {
  Parameter& parameter = parameters_.emplace_back();
  const auto fixed = [&](auto& place, auto number, SQLSMALLINT c_type, SQLSMALLINT sql_type) {
    place = static_cast<std::remove_reference_t<decltype(place)>>(number);
    parameter.c_type = c_type;
    parameter.sql_type = sql_type;
    parameter.indicator = sizeof place;
  };
  auto& place = parameter.fixed;
  std::visit(
      [&](const auto& held) {
        using T = std::decay_t<decltype(held)>;
        if constexpr (std::is_same_v<T, bool>) {
          fixed(place.bit, held ? 1 : 0, SQL_C_BIT, SQL_BIT);
        } else if constexpr (std::is_same_v<T, std::int16_t>) {
          fixed(place.small, held, SQL_C_SSHORT, SQL_SMALLINT);
        } else if constexpr (std::is_same_v<T, std::int32_t>) {
          fixed(place.integer, held, SQL_C_SLONG, SQL_INTEGER);
        } else if constexpr (std::is_same_v<T, std::int64_t>) {
          fixed(place.big, held, SQL_C_SBIGINT, SQL_BIGINT);
        } else if constexpr (std::is_same_v<T, double>) {
          fixed(place.real, held, SQL_C_DOUBLE, SQL_DOUBLE);
        } else if constexpr (std::is_same_v<T, Date>) {
          set_date(parameter, held, target);
        } else if constexpr (std::is_same_v<T, Text>) {
          parameter.c_type = SQL_C_WCHAR;
          parameter.sql_type = held.size() > kLongestText ? SQL_WLONGVARCHAR : SQL_WVARCHAR;
          parameter.size = std::max<SQLULEN>(held.size(), kLongestText);
          set_run(parameter, held.data(), held.size() * sizeof(char16_t));
        } else if constexpr (std::is_same_v<T, Bytes>) {
          parameter.c_type = SQL_C_BINARY;
          parameter.sql_type = held.size() > kLongestBytes ? SQL_LONGVARBINARY : SQL_VARBINARY;
          parameter.size = std::max<SQLULEN>(held.size(), kLongestBytes);
          set_run(parameter, held.data(), held.size());
        } else {
          set_null(parameter, target);
        }
      },
      value);
}

void Parameters::add_null(const Variant& value, const SqlType& target) {
  add(value, target);
  Parameter& parameter = parameters_.back();
  parameter.run = nullptr;
  parameter.bytes = 0;
  parameter.indicator = SQL_NULL_DATA;
}

// A null has a type too, and a text's null does not go into a binary column.
void Parameters::set_null(Parameter& parameter, const SqlType& target) {
  if (!is_binary(target.code)) return;
  parameter.c_type = SQL_C_BINARY;
  parameter.sql_type = SQL_VARBINARY;
}

void Parameters::set_date(Parameter& parameter, Date date, const SqlType& target) {
  if (is_date(target.code)) {
    const SQL_TIMESTAMP_STRUCT day = timestamp_of(date, 0);
    parameter.fixed.date = {day.year, day.month, day.day};
    parameter.c_type = SQL_C_TYPE_DATE;
    parameter.sql_type = SQL_TYPE_DATE;
    parameter.size = 10;
    parameter.indicator = sizeof parameter.fixed.date;
    return;
  }
  const int digits =
      is_timestamp(target.code) ? std::clamp<int>(target.digits, 0, kMostDigits) : kDatetimeDigits;
  parameter.fixed.timestamp = timestamp_of(date, digits);
  parameter.c_type = SQL_C_TYPE_TIMESTAMP;
  parameter.sql_type = SQL_TYPE_TIMESTAMP;
  parameter.size = digits == 0 ? kSecondsWidth : kSecondsWidth + 1 + static_cast<SQLULEN>(digits);
  parameter.digits = static_cast<SQLSMALLINT>(digits);
  parameter.indicator = sizeof parameter.fixed.timestamp;
}

void Parameters::set_run(Parameter& parameter, const void* data, std::size_t bytes) {
  parameter.run = data;
  parameter.bytes = bytes;
  const auto length = static_cast<SQLLEN>(bytes);
  const bool in_pieces =
      parameter.sql_type == SQL_WLONGVARCHAR || parameter.sql_type == SQL_LONGVARBINARY;
  parameter.indicator = in_pieces ? SQL_LEN_DATA_AT_EXEC(length) : length;
}

SQLRETURN Parameters::execute(const Handle& statement, TextView text) {
  OdbcApi& api = statement.api();
  SQLUSMALLINT number = 0;
  for (Parameter& parameter : parameters_) {
    const bool in_pieces = parameter.indicator <= SQL_LEN_DATA_AT_EXEC_OFFSET;
    // For a value in pieces the driver hands this pointer back to say which one it wants.
    void* value = &parameter.fixed;
    if (parameter.run != nullptr) value = const_cast<void*>(parameter.run);
    if (in_pieces) value = &parameter;
    statement.check(api.bind_parameter(statement.get(), ++number, SQL_PARAM_INPUT, parameter.c_type,
                                       parameter.sql_type, parameter.size, parameter.digits, value,
                                       static_cast<SQLLEN>(parameter.bytes), &parameter.indicator));
  }
  SQLRETURN result =
      api.exec_direct(statement.get(), wide(text), static_cast<SQLINTEGER>(text.size()));
  if (result == SQL_NEED_DATA) {
    bool is_asked = false;
    try {
      result = put_all(statement, is_asked);
    } catch (...) {
      break_off(statement, is_asked);
      throw;
    }
  }
  if (result != SQL_NO_DATA) statement.check(result);
  return result;
}

SQLRETURN Parameters::put_all(const Handle& statement, bool& is_asked) {
  SQLRETURN result = SQL_NEED_DATA;
  while (result == SQL_NEED_DATA) {
    SQLPOINTER wanted = nullptr;
    result = statement.api().param_data(statement.get(), &wanted);
    if (result != SQL_NEED_DATA) continue;
    is_asked = true;
    put(statement, parameter_at(wanted));
  }
  if (result != SQL_NO_DATA) statement.check(result);
  return result;
}

// As long as a statement waits for its data, neither it nor its connection can be freed, and the
// transaction cannot be ended.
void Parameters::break_off(const Handle& statement, bool is_asked) {
  OdbcApi& api = statement.api();
  if (SQL_SUCCEEDED(api.cancel(statement.get()))) return;
  // FreeTDS cancels only what it has begun to send. An error of the driver's own ends the wait as
  // well, and only a procedure's parameter has a default. Once the driver has asked, it must not be
  // let ask on: it would take what it has for the whole value and run the statement.
  SQLPOINTER wanted = nullptr;
  if (!is_asked) static_cast<void>(api.param_data(statement.get(), &wanted));
  static_cast<void>(api.put_data(statement.get(), nullptr, SQL_DEFAULT_PARAM));
}

const Parameters::Parameter& Parameters::parameter_at(SQLPOINTER wanted) const {
  for (const Parameter& parameter : parameters_) {
    if (&parameter == wanted) return parameter;
  }
  throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                      u"The ODBC driver asked for a parameter that does not exist.");
}

void Parameters::put(const Handle& statement, const Parameter& parameter) {
  const auto* data = static_cast<const std::byte*>(parameter.run);
  for (std::size_t sent = 0; sent < parameter.bytes;) {
    const std::size_t piece = std::min(kPiece, parameter.bytes - sent);
    statement.check(statement.api().put_data(statement.get(), const_cast<std::byte*>(data + sent),
                                             static_cast<SQLLEN>(piece)));
    sent += piece;
  }
}

}  // namespace tarnwick::odbc
