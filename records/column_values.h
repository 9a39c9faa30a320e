#pragma once

#include <concepts>

#include "ado/recordset.h"
#include "records/property.h"
#include "records/row_version.h"
#include "runtime/conversions.h"
#include "state/enums.h"

namespace tarnwick {

/// How a value of the type stands in a column. Enumerations that are kept as text codes have their
/// own beside the record class. Null where a value is wanted is error 94.
template <class T>
struct Stored {
  static T from(Variant value) {
    if constexpr (std::same_as<T, Text>) {
      return to_text(std::move(value));
    } else if constexpr (std::same_as<T, std::int16_t>) {
      return to_int16(value);
    } else if constexpr (std::same_as<T, std::int32_t>) {
      return to_int32(value);
    } else if constexpr (std::same_as<T, bool>) {
      return to_bool(value);
    } else {
      static_assert(std::same_as<T, Date>);
      return to_date(value);
    }
  }
  static const T& to(const T& value) { return value; }
};

template <>
struct Stored<MaintTypeEnum> {
  static MaintTypeEnum from(const Variant& value) { return MaintTypeEnum{to_int32(value)}; }
  static std::int32_t to(MaintTypeEnum value) { return value; }
};

/// The value of a column in the current row.
template <class T>
[[nodiscard]] T column_value(ado::Recordset& row, TextView column, Nulls nulls) {
  Variant value = row.field(column).value();
  if (!is_null(value) || nulls.refused) return Stored<T>::from(std::move(value));
  if constexpr (std::is_arithmetic_v<T> || std::is_enum_v<T>) {
    return static_cast<T>(nulls.value);
  } else {
    return T{};
  }
}

/// The property's value in the current row.
template <auto kGet, auto kSet>
[[nodiscard]] auto read(ado::Recordset& row, const Property<kGet, kSet>& property) {
  using T = typename Property<kGet, kSet>::Value;
  const Reading& from = property.reading;
  if constexpr (std::same_as<T, Text>) {
    if (property.form == Form::kRowVersion) return row_version_text(row.field(from.column).value());
  }
  if (property.form == Form::kAsText) {
    return Stored<T>::from(column_value<Text>(row, from.column, from.nulls));
  }
  return column_value<T>(row, from.column, from.nulls);
}

/// Loads into `record` what its table says, in the order of reading; what has a form of its own is
/// left to the record class.
template <class Record>
void load_properties(ado::Recordset& row, Record& record) {
  for_each_read<Record>([&](const auto& property) {
    if (property.form != Form::kOwn) PropertyAccess::set(record, property, read(row, property));
  });
}

/// Writes the record's value into the column of the row.
template <class Record, auto kGet, auto kSet>
void write(ado::Recordset& row, const Property<kGet, kSet>& property, const Record& record) {
  using T = typename Property<kGet, kSet>::Value;
  row.field(property.writing.column).set_value(Stored<T>::to((record.*kGet)()));
}

}  // namespace tarnwick
