#include "engines/sqlite/payload.h"

#include <algorithm>
#include <vector>

#include "engines/sqlite/scanner.h"

namespace tarnwick::sqlite {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 20;

class OpenPayload final {
 public:
  OpenPayload(sqlite3* handle, const Table& table, std::int64_t row, bool write) : handle_(handle) {
    require(sqlite3_blob_open(handle, "main", table.name.c_str(), kPayloadColumn.data(), row,
                              write ? 1 : 0, &blob_));
  }
  ~OpenPayload() { sqlite3_blob_close(blob_); }
  OpenPayload(const OpenPayload&) = delete;
  OpenPayload& operator=(const OpenPayload&) = delete;

  [[nodiscard]] std::size_t size() const {
    return static_cast<std::size_t>(sqlite3_blob_bytes(blob_));
  }
  void read(std::span<std::byte> piece, std::size_t at) {
    require(sqlite3_blob_read(blob_, piece.data(), static_cast<int>(piece.size()),
                              static_cast<int>(at)));
  }
  void write(std::span<const std::byte> piece, std::size_t at) {
    require(sqlite3_blob_write(blob_, piece.data(), static_cast<int>(piece.size()),
                               static_cast<int>(at)));
  }

 private:
  void require(int code) const {
    if (code != SQLITE_OK) throw_sqlite_error(handle_, code);
  }

  sqlite3* handle_;
  sqlite3_blob* blob_ = nullptr;
};

}  // namespace

bool has_payloads(const Table& table) {
  return table.versioned && sqlite3_stricmp(table.name.c_str(), "DW_Reports") == 0;
}

std::optional<std::string> without_payloads(const Query& query, const Table& table,
                                            std::span<const std::string> columns) {
  Scanner scanner(query.sql);
  // A query that has columns is a look-up, "select ... from ... where ...".
  if (query.columns.empty() || columns.back() != kPayloadColumn) return std::nullopt;
  scanner.keyword("select");
  if (!scanner.symbol('*')) return std::nullopt;
  const std::string_view behind_columns = scanner.rest();
  scanner.keyword("from");
  std::string_view source = scanner.name();
  if (scanner.symbol('.')) source = scanner.name();
  if (sqlite3_stricmp(std::string(source).c_str(), table.name.c_str()) != 0) return std::nullopt;
  const std::string column(kPayloadColumn);
  // Type and length stand in the row's header: SQLite leaves the value alone for them.
  const std::string apart = "CASE WHEN typeof(" + column + ") = 'blob' AND length(" + column +
                            ") >= " + std::to_string(kPayloadSize);
  std::string sql = "SELECT ";
  for (const auto& name : columns.first(columns.size() - 1)) sql += identifier(name) + ", ";
  sql += apart + " THEN NULL ELSE " + column + " END, " + apart + " THEN rowid END ";
  return sql.append(behind_columns);
}

std::optional<std::int64_t> row_id(Database& database, const Table& table,
                                   std::span<const StoredValue> key) {
  std::string sql = "SELECT rowid FROM dbo." + identifier(table.name);
  const char* before = " WHERE ";
  for (const auto& column : table.key) {
    sql.append(before).append(identifier(column)).append(" IS ?");
    before = " AND ";
  }
  Execution row(database, database.statement(sql), key);
  if (!row.next()) return std::nullopt;
  return sqlite3_column_int64(row.statement(), 0);
}

Bytes read_payload(sqlite3* handle, const Table& table, std::int64_t row) {
  OpenPayload payload(handle, table, row, false);
  std::vector<std::byte> piece(kPiece);
  ByteBuffer bytes;
  // By pieces that stay in the processor's cache: to make the buffer as long as it gets would write
  // all of it once more.
  bytes.reserve(payload.size());
  while (bytes.size() < payload.size()) {
    piece.resize(std::min(kPiece, payload.size() - bytes.size()));
    payload.read(piece, bytes.size());
    bytes.insert(bytes.end(), piece.begin(), piece.end());
  }
  return bytes;
}

void write_payload(sqlite3* handle, const Table& table, std::int64_t row, const Bytes& payload) {
  OpenPayload room(handle, table, row, true);
  room.write({payload.data(), payload.size()}, 0);
}

}  // namespace tarnwick::sqlite
