#pragma once

#include <sqlite3.h>

#include <span>
#include <string>
#include <variant>

#include "ado/row_buffer.h"

namespace tarnwick::sqlite {

/// A value as it is bound to a statement.
struct Blob {
  Bytes bytes;
  friend bool operator==(const Blob&, const Blob&) = default;
};
using StoredValue = std::variant<std::nullptr_t, std::int64_t, double, std::string, Blob>;

/// Throws AdoError 3421 for a text that SQLite cannot keep whole (an embedded NUL, an unpaired
/// surrogate). Dates become their number of days, Empty becomes null.
[[nodiscard]] StoredValue stored_value(const Variant& value);
[[nodiscard]] StoredValue stored_value(const ado::Cell& cell);

/// The length from which a value is not to be written twice, or held twice, where that can be
/// helped.
inline constexpr std::size_t kPayloadSize = std::size_t{1} << 20;
/// Whether the value has that length.
[[nodiscard]] bool is_payload(const StoredValue& value);

/// Binds the values of all parameters in their order, without copying: they must outlive the
/// statement's use.
void bind_all(sqlite3_stmt* statement, std::span<const StoredValue> values);

/// A view of `value`, valid as long as that is.
[[nodiscard]] ado::Cell cell_of(const StoredValue& value);
/// A view of SQLite's value, valid as long as that is.
[[nodiscard]] ado::Cell cell_of(sqlite3_value* value);
/// The same for a column (from 0) of the row that `statement` stands on.
[[nodiscard]] ado::Cell cell_of(sqlite3_stmt* statement, int column);

}  // namespace tarnwick::sqlite
