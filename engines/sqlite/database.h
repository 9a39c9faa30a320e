#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "ado/error.h"
#include "engines/sqlite/call_time.h"
#include "engines/sqlite/client_rules.h"
#include "engines/sqlite/statement_cache.h"
#include "engines/sqlite/stored_value.h"
#include "runtime/text.h"

namespace tarnwick::sqlite {

/// One open database file; its schema bears the name "dbo". Waits for other writers, and works on a
/// statement, as long as `time` allows. Functions throw AdoError.
class Database final {
 public:
  /// How long opening may wait for a program that has the whole file to itself, in milliseconds: a
  /// session cannot have said yet how long it wants to wait.
  static constexpr std::int32_t kOpeningWait = 10'000;

  /// Opens a file that is there and can be written. Throws for one that is no database. Changes
  /// nothing in it.
  explicit Database(const std::filesystem::path& file);

  /// Opens `file` through SQLite's file system layer `layer`, which keeps it to itself, for writing
  /// that is never committed. Shares the limits of `time`.
  Database(const std::filesystem::path& file, const char* layer, std::shared_ptr<CallTime> time);

  /// From now on readers and the writer do not wait for each other, and a commit is sure to be on
  /// the disk once `sync_log` has returned. Changes the file where it was used otherwise before.
  void use_write_ahead_log();

  [[nodiscard]] sqlite3* handle() const { return handle_.get(); }
  [[nodiscard]] CallTime& time() { return *time_; }
  [[nodiscard]] const std::shared_ptr<CallTime>& shared_time() const { return time_; }

  /// A statement of the engine's own. Kept prepared: valid, and reset, until others were asked for
  /// (see StatementCache).
  [[nodiscard]] sqlite3_stmt* statement(std::string_view sql);

  /// A client's statement, kept apart from the engine's own, which no rule was asked about.
  /// Refuses: no statement, text behind the first statement, and what would get in the engine's way
  /// (see ClientRules).
  [[nodiscard]] sqlite3_stmt* client_statement(std::string_view sql);

  /// A transaction that reads: until it is rolled back the file looks as it does now.
  void begin_reading();
  void begin_immediate();
  [[nodiscard]] bool in_transaction() const { return sqlite3_get_autocommit(handle()) == 0; }
  void commit();
  /// Returns when all that was committed, by whomever, is on the disk. Takes no lock, so that
  /// others write meanwhile. Throws ConnectionLost.
  void sync_log();
  /// Does nothing when SQLite has rolled back by itself already. Never throws.
  void rollback() noexcept;

  using ChangeHook = void (*)(void* context, sqlite3* handle, int operation, const char* schema,
                              const char* table, sqlite3_int64 old_id, sqlite3_int64 new_id);
  /// Has `hook` called before each change of a row, until it is replaced; nullptr for none. A
  /// statement that was prepared without any hook may tell none of its changes: so there always is
  /// one, except while statements run that are known to need none (`unhook_changes`).
  void hook_changes(ChangeHook hook, void* context);
  void unhook_changes();

  /// Counts up with every change of the schema, whoever makes it.
  [[nodiscard]] std::int64_t schema_version();

  /// Throws what SQLite's last result `code` means; kTimeout where the time for working is over.
  [[noreturn]] void fail(int code) const;

 private:
  struct Close {
    void operator()(sqlite3* handle) const { sqlite3_close(handle); }
  };

  void open(const std::filesystem::path& file, const char* layer);
  void prepare_transactions();
  void switch_to_write_ahead_log();
  [[nodiscard]] StatementHandle prepare(std::string_view sql, const char** tail = nullptr);
  void step(sqlite3_stmt* statement);

  std::shared_ptr<CallTime> time_;
  ClientRules rules_;
  std::unique_ptr<sqlite3, Close> handle_;
  StatementCache own_statements_;
  StatementCache client_statements_;
  StatementHandle begin_reading_;
  StatementHandle begin_;
  StatementHandle commit_;
  StatementHandle rollback_;
  StatementHandle schema_version_;
};

/// A statement while it runs; ready for its next use afterwards. The values must outlive this.
class Execution final {
 public:
  Execution(const Database& database, sqlite3_stmt* statement)
      : database_(database), statement_(statement) {}
  Execution(const Database& database, sqlite3_stmt* statement, std::span<const StoredValue> values)
      : Execution(database, statement) {
    bind_all(statement, values);
  }
  ~Execution() {
    sqlite3_reset(statement_);
    sqlite3_clear_bindings(statement_);
  }
  Execution(const Execution&) = delete;
  Execution& operator=(const Execution&) = delete;

  [[nodiscard]] sqlite3_stmt* statement() const { return statement_; }
  /// Goes to the next row; false behind the last one.
  bool next();

 private:
  const Database& database_;
  sqlite3_stmt* statement_;
};

/// Throws what SQLite's result `code` on `handle` means, with SQLite's text.
[[noreturn]] void throw_sqlite_error(sqlite3* handle, int code);

/// `name` as an SQL identifier.
[[nodiscard]] std::string identifier(std::string_view name);

/// A file name in SQLite's form.
[[nodiscard]] std::string sqlite_file_name(const std::filesystem::path& file);

}  // namespace tarnwick::sqlite
