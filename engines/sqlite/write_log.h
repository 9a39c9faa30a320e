#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/database.h"
#include "engines/sqlite/row_locker.h"
#include "engines/sqlite/row_locks.h"
#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {

/// A value that the statement only makes room for; it goes into its row behind it.
struct WrittenPayload {
  std::shared_ptr<const Table> table;
  std::vector<StoredValue> key;  // of the row before the statement
  int parameter = 0;             // of the statement, from 1
  Bytes bytes;
};

/// A statement that writes, with its values.
struct Write {
  enum class Author { kEngine, kClient };
  Author author = Author::kEngine;
  std::string statement;
  std::vector<StoredValue> values;
  /// Throw kRowNotLocated unless exactly one row was written.
  bool one_row = false;
  /// The statement gives the row the version that DW_ROW_VERSION is bumped to right before it.
  bool bumps_version = false;
  std::optional<WrittenPayload> payload = std::nullopt;
};

/// New values for columns of one row.
struct RowUpdate {
  struct Column {
    std::string name;
    StoredValue value;
  };
  std::shared_ptr<const Table> table;
  std::vector<StoredValue> key;
  std::vector<Column> columns;
  /// Throw kRowNotLocated unless the row still has this version; nothing asks for none.
  std::optional<StoredValue> version = std::nullopt;
};

/// What a session writes. Inside a transaction the file stays untouched: writes are gathered here
/// and carried out at the commit, all in one short transaction of SQLite. Until then they are tried
/// out, and rolled back, as each one arrives, so that an error appears where it was made; and
/// whenever the session reads, in a Shadow, so that it sees its own writes and holds up nobody
/// else's. Every row that is written is locked first.
/// That costs time with the square of the writes: a transaction that loads very many rows is one of
/// SQLite from its beginning to its end instead, and keeps all other writers out.
class WriteLog final {
 public:
  WriteLog(Database& database, Catalog& catalog, RowLocks& locks);
  WriteLog(const WriteLog&) = delete;
  WriteLog& operator=(const WriteLog&) = delete;

  [[nodiscard]] bool in_transaction() const { return in_transaction_; }
  void begin() { in_transaction_ = true; }
  void begin_load();
  /// A commit that throws leaves the transaction open.
  void commit();
  void rollback() noexcept;

  /// Locks that last as long as the transaction.
  [[nodiscard]] RowLocks::Set& transaction_locks() { return locks_of_transaction_; }

  /// Notes that the row was read after it had been locked for the transaction. With the `version`
  /// that was read, its first update fails where a program that knows no row locks has written the
  /// row since.
  void add_row_at_hand(const Table& table, std::span<const ado::Cell> key,
                       std::optional<StoredValue> version);

  /// Outside a transaction a write is committed at once.
  void write(Write write);
  /// The same as the write of an UPDATE statement that the changes stand for. A row at hand is not
  /// tried out where nothing can go wrong, and its updates are joined.
  void update(RowUpdate update, std::span<const ado::Cell> key);

  /// How many writes a transaction has gathered; and to forget those behind the first `size`.
  [[nodiscard]] std::size_t size() const { return log_.size(); }
  void cut(std::size_t size) noexcept {
    log_.erase(log_.begin() + static_cast<std::ptrdiff_t>(size), log_.end());
  }

  /// Runs `body` on the database as this session sees it.
  void read(const std::function<void(Database&)>& body);

 private:
  enum class Ending { kCommit, kRollback };
  using Entry = std::variant<Write, RowUpdate>;

  /// Runs `attempt` anew, each time after a wait with `locks` freed, as long as it returns the byte
  /// of another session's row that was in its way.
  void while_blocked(RowLocks::Set& locks,
                     const std::function<std::optional<std::int64_t>()>& attempt);
  /// Runs `body` in a transaction of SQLite, locking for `locks`, until no other session's row is
  /// in its way; it returns false where one was.
  void in_file_transaction(RowLocks::Set& locks, Ending ending,
                           const std::function<bool(RowLocker&)>& body);

  /// Of a load: there is no log, and no way back behind a row of another session.
  void apply_at_once(const Write& write);

  /// On `database`; false when a row of another session is in the way.
  [[nodiscard]] bool apply_log(Database& database, RowLocker& locker);
  using Run = bool (RowLocker::*)(sqlite3_stmt*);
  [[nodiscard]] bool apply(const Write& write, Database& database, RowLocker& locker,
                           Run run = &RowLocker::run);
  [[nodiscard]] bool apply(const RowUpdate& update, Database& database, RowLocker& locker);
  struct RowAtHand {
    std::int64_t byte = 0;  // of its lock
    std::optional<StoredValue> version;
  };
  [[nodiscard]] RowAtHand* find_at_hand(std::int64_t byte);
  [[nodiscard]] static bool cannot_fail(const RowUpdate& update);
  void append(RowUpdate update);

  Database& database_;
  Catalog& catalog_;
  RowLocks& locks_;
  bool in_transaction_ = false;
  bool loading_ = false;  // a transaction of SQLite is open throughout
  std::vector<Entry> log_;
  bool last_seen_ = false;  // the session has read since the last entry was made
  RowLocks::Set locks_of_transaction_;
  std::vector<RowAtHand> rows_at_hand_;  // none of them deleted since
};

}  // namespace tarnwick::sqlite
