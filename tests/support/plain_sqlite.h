#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::test_support {

/// `bytes` in upper-case hexadecimal.
inline std::string hexadecimal(std::string_view bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (const char byte : bytes) {
    hex.push_back(kDigits[static_cast<unsigned char>(byte) >> 4]);
    hex.push_back(kDigits[static_cast<unsigned char>(byte) & 15]);
  }
  return hex;
}

/// A database file as any other program sees it: SQLite's own interface, nothing of ours.
class PlainSqlite {
 public:
  /// Values as text: NULL as "NULL", a BLOB as its bytes in upper-case hexadecimal.
  using Row = std::vector<std::string>;
  using Rows = std::vector<Row>;

  explicit PlainSqlite(const std::filesystem::path& file) {
    sqlite3* opened = nullptr;
    const int result =
        sqlite3_open_v2(file.string().c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
    database_.reset(opened);
    if (result != SQLITE_OK) fail();
    sqlite3_busy_timeout(opened, 10'000);
  }

  /// Runs the statements in `sql` and returns the rows of the last one that has any.
  Rows run(const std::string& sql) {
    Rows rows;
    const char* rest = sql.c_str();
    while (*rest != '\0') {
      sqlite3_stmt* prepared = nullptr;
      if (sqlite3_prepare_v2(database_.get(), rest, -1, &prepared, &rest) != SQLITE_OK) fail();
      if (prepared == nullptr) break;
      const std::unique_ptr<sqlite3_stmt, Finalize> statement(prepared);
      if (sqlite3_column_count(prepared) > 0) rows.clear();
      int step = SQLITE_ROW;
      while ((step = sqlite3_step(prepared)) == SQLITE_ROW) rows.push_back(row_of(prepared));
      if (step != SQLITE_DONE) fail();
    }
    return rows;
  }

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close(database); }
  };
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  [[noreturn]] void fail() const { throw std::runtime_error(sqlite3_errmsg(database_.get())); }

  static Row row_of(sqlite3_stmt* statement) {
    Row row;
    for (int column = 0; column < sqlite3_column_count(statement); ++column) {
      row.push_back(text_of(statement, column));
    }
    return row;
  }

  static std::string text_of(sqlite3_stmt* statement, int column) {
    const int type = sqlite3_column_type(statement, column);
    if (type == SQLITE_NULL) return "NULL";
    if (type != SQLITE_BLOB) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      return {text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
    }
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
    return hexadecimal({bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))});
  }

  std::unique_ptr<sqlite3, Close> database_;
};

}  // namespace tarnwick::test_support
