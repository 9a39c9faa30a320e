#include "benchmarks/sqlite_floor.h"

#include <stdexcept>

namespace tarnwick::benchmarks {
namespace {

void check(sqlite3* database, int code) {
  if (code == SQLITE_OK || code == SQLITE_ROW || code == SQLITE_DONE) return;
  throw std::runtime_error(sqlite3_errmsg(database));
}

}  // namespace

Database open_database(const std::filesystem::path& file) {
  sqlite3* handle = nullptr;
  const int code =
      sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
  Database database(handle);
  check(handle, code);
  execute(handle, "PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
  return database;
}

void execute(sqlite3* database, const std::string& statements) {
  check(database, sqlite3_exec(database, statements.c_str(), nullptr, nullptr, nullptr));
}

Statement prepare(sqlite3* database, const std::string& statement) {
  sqlite3_stmt* handle = nullptr;
  check(database, sqlite3_prepare_v2(database, statement.c_str(), -1, &handle, nullptr));
  return Statement(handle);
}

bool step(sqlite3_stmt* statement) {
  const int code = sqlite3_step(statement);
  check(sqlite3_db_handle(statement), code);
  return code == SQLITE_ROW;
}

Text text_column(sqlite3_stmt* statement, int column) {
  const void* text = sqlite3_column_text16(statement, column);
  if (text == nullptr) return {};
  const auto bytes = static_cast<std::size_t>(sqlite3_column_bytes16(statement, column));
  return Text(static_cast<const char16_t*>(text), bytes / sizeof(char16_t));
}

Text hex_column(sqlite3_stmt* statement, int column) {
  constexpr TextView kDigits = u"0123456789ABCDEF";
  const auto* bytes = static_cast<const unsigned char*>(sqlite3_column_blob(statement, column));
  const int size = sqlite3_column_bytes(statement, column);
  Text hex;
  hex.reserve(static_cast<std::size_t>(size) * 2);
  for (int i = 0; i < size; ++i) {
    hex += kDigits[bytes[i] >> 4];
    hex += kDigits[bytes[i] & 15];
  }
  return hex;
}

}  // namespace tarnwick::benchmarks
