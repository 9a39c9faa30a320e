#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <vector>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/database.h"
#include "engines/sqlite/row_locks.h"

namespace tarnwick::sqlite {

/// While it lives, every row that a statement on `database` is about to change is locked first, on
/// behalf of `set`. Where another session holds one, the statement ends there.
class RowLocker final {
 public:
  RowLocker(Database& database, const Catalog& catalog, RowLocks& locks, RowLocks::Set& set);
  ~RowLocker();
  RowLocker(const RowLocker&) = delete;
  RowLocker& operator=(const RowLocker&) = delete;

  /// Runs a statement to its end. False when another session's row is in its way.
  [[nodiscard]] bool run(sqlite3_stmt* statement);
  /// The same for a statement that changes rows which are locked already: to be told of each costs
  /// time and tells nothing.
  [[nodiscard]] bool run_unlocked(sqlite3_stmt* statement);
  /// The same for a change that is no statement.
  void unlocked(const std::function<void()>& change);

  /// The byte of the row that was in the way.
  [[nodiscard]] std::optional<std::int64_t> blocking_byte() const { return blocking_byte_; }

 private:
  struct HookAgain {
    void operator()(RowLocker* locker) const { locker->hook(); }
  };
  void hook();
  static void before_change(void* locker, sqlite3* handle, int operation, const char* schema,
                            const char* table, sqlite3_int64 old_id, sqlite3_int64 new_id);
  void lock_changed_row(int operation, const char* table_name);
  using Getter = int (*)(sqlite3*, int, sqlite3_value**);
  void read_key(const Table& table, Getter getter);
  [[nodiscard]] ado::Cell changed_value(int column, Getter getter) const;

  Database& database_;
  const Catalog& catalog_;
  RowLocks& locks_;
  RowLocks::Set& set_;
  std::optional<std::int64_t> blocking_byte_;
  std::exception_ptr failure_;
  std::vector<ado::Cell> key_;
};

}  // namespace tarnwick::sqlite
