#pragma once

#include <sqlite3.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/query.h"

namespace tarnwick::sqlite {

// Values so long that they are not to be had twice in memory: SQLite would put a whole row together
// beside the value that it is made of, and beside the value that is made of it. They go into their
// row and out of it in pieces.

/// Where such values are: the last column of its table, since SQLite leaves room for a value
/// without having it in memory at the end of a row alone.
inline constexpr std::string_view kPayloadColumn = "Report_Binary";

/// Whether `table` is one of the embedded schema's and has that column.
[[nodiscard]] bool has_payloads(const Table& table);

/// The look-up `query` of all `columns` of `table`, which has payloads, such that those come as
/// null and one column more tells the id of the row that has one, or null. Nothing where `columns`
/// are not those of the schema, or the query reads them through a view: its rows may have no ids.
[[nodiscard]] std::optional<std::string> without_payloads(const Query& query, const Table& table,
                                                          std::span<const std::string> columns);

/// The id of the row with this key, if there is one.
[[nodiscard]] std::optional<std::int64_t> row_id(Database& database, const Table& table,
                                                 std::span<const StoredValue> key);

/// The payload of a row, as the transaction that is open sees it.
[[nodiscard]] Bytes read_payload(sqlite3* handle, const Table& table, std::int64_t row);

/// Fills the room that the row has for a payload of that length. Nobody may watch changes
/// meanwhile.
void write_payload(sqlite3* handle, const Table& table, std::int64_t row, const Bytes& payload);

}  // namespace tarnwick::sqlite
