#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ado/error.h"
#include "engines/sqlite/client_rules.h"
#include "engines/sqlite/lock_wait.h"
#include "runtime/text.h"

namespace tarnwick::sqlite {

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// One open database file; its schema bears the name "dbo". Waits for other writers as long as
/// `wait` allows. Functions throw AdoError.
class Database final {
 public:
  /// How long opening may wait for a program that has the whole file to itself, in milliseconds: a
  /// session cannot have said yet how long it wants to wait.
  static constexpr std::int32_t kOpeningWait = 10'000;

  /// Opens a file that is there and can be written. Throws for one that is no database.
  explicit Database(const std::filesystem::path& file);

  [[nodiscard]] sqlite3* handle() const { return handle_.get(); }
  [[nodiscard]] LockWait& wait() { return wait_; }

  /// A statement of the engine's own. Kept prepared: valid, and reset, until a few dozen others
  /// were asked for.
  [[nodiscard]] sqlite3_stmt* statement(std::string_view sql);

  /// A client's statement, kept like the engine's own. Refuses: no statement, text behind the first
  /// statement, and what would get in the engine's way (see ClientRules).
  [[nodiscard]] sqlite3_stmt* client_statement(std::string_view sql);

  void begin_immediate();
  [[nodiscard]] bool in_transaction() const { return sqlite3_get_autocommit(handle()) == 0; }
  void commit();
  /// Does nothing when SQLite has rolled back by itself already. Never throws.
  void rollback() noexcept;

  /// Counts up with every change of the schema, whoever makes it.
  [[nodiscard]] std::int64_t schema_version();

  /// Throws what SQLite's last result `code` means.
  [[noreturn]] void fail(int code) const;

 private:
  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };
  struct Kept {
    std::string sql;
    StatementHandle statement;
  };

  [[nodiscard]] StatementHandle prepare(std::string_view sql, const char** tail = nullptr);
  [[nodiscard]] sqlite3_stmt* find(std::string_view sql);
  sqlite3_stmt* keep(std::string_view sql, StatementHandle statement);
  void step(sqlite3_stmt* statement);

  LockWait wait_;
  ClientRules rules_;
  std::unique_ptr<sqlite3, Close> handle_;
  std::vector<Kept> kept_;  // the one used last comes first
  StatementHandle begin_;
  StatementHandle commit_;
  StatementHandle rollback_;
  StatementHandle schema_version_;
};

/// Leaves a statement ready for its next use.
class ResetAtEnd final {
 public:
  explicit ResetAtEnd(sqlite3_stmt* statement) : statement_(statement) {}
  ~ResetAtEnd() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  ResetAtEnd(const ResetAtEnd&) = delete;
  ResetAtEnd& operator=(const ResetAtEnd&) = delete;

 private:
  sqlite3_stmt* statement_;
};

/// Throws what SQLite's result `code` on `handle` means, with SQLite's text.
[[noreturn]] void throw_sqlite_error(sqlite3* handle, int code);

/// `name` as an SQL identifier.
[[nodiscard]] std::string identifier(std::string_view name);

/// A file name in SQLite's form.
[[nodiscard]] std::string sqlite_file_name(const std::filesystem::path& file);

}  // namespace tarnwick::sqlite
