#pragma once

#include "ado/recordset.h"
#include "runtime/conversions.h"

namespace tarnwick {

// Reading the columns of a row: each with the value that stands for Null, where there is one. A
// column without one is converted as it is: Null is error 94 there.

[[nodiscard]] inline Text text_or_empty(ado::Recordset& row, TextView column) {
  Variant value = row.field(column).value();
  return is_null(value) ? Text() : to_text(std::move(value));
}

[[nodiscard]] inline std::int16_t int16_or(ado::Recordset& row, TextView column,
                                           std::int16_t null_value) {
  const Variant value = row.field(column).value();
  return is_null(value) ? null_value : to_int16(value);
}

[[nodiscard]] inline std::int32_t int32_or(ado::Recordset& row, TextView column,
                                           std::int32_t null_value) {
  const Variant value = row.field(column).value();
  return is_null(value) ? null_value : to_int32(value);
}

[[nodiscard]] inline Date date_or_zero(ado::Recordset& row, TextView column) {
  const Variant value = row.field(column).value();
  return is_null(value) ? Date{} : to_date(value);
}

}  // namespace tarnwick
