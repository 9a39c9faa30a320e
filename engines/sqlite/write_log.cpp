#include "engines/sqlite/write_log.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engines/sqlite/embedded_schema.h"
#include "engines/sqlite/payload.h"
#include "engines/sqlite/shadow.h"

namespace tarnwick::sqlite {
namespace {

/// SQLite's transaction, rolled back unless it was committed.
class FileTransaction final {
 public:
  explicit FileTransaction(Database& database) : database_(database) {
    database_.begin_immediate();
  }
  ~FileTransaction() { database_.rollback(); }
  FileTransaction(const FileTransaction&) = delete;
  FileTransaction& operator=(const FileTransaction&) = delete;

 private:
  Database& database_;
};

constexpr const char* kBumpVersion = "UPDATE dbo.DW_ROW_VERSION SET Counter = Counter + 1";

/// Gives what nobody has committed versions that no commit ever gives out. A version that was seen
/// in a transaction and rolled back with it would come once more, for another content of the row,
/// and an object that saw it would take that for its own.
void set_versions_apart(Database& shadow) {
  const StoredValue name[] = {std::string(kVersionTable)};
  Execution tables(shadow, shadow.statement("SELECT 1 FROM dbo.sqlite_master WHERE name = ?"),
                   name);
  if (!tables.next()) return;
  Execution(shadow, shadow.statement("UPDATE dbo.DW_ROW_VERSION SET Counter = Counter | (1 << 55)"))
      .next();
}

// The trigger that bumps the row's version would look for the row again and write it a second time,
// a whole payload with it.
bool bumps_version(const RowUpdate& update) {
  const auto is_version = [](const RowUpdate::Column& column) {
    return sqlite3_stricmp(column.name.c_str(), "RowVersion") == 0;
  };
  return update.table->versioned &&
         std::none_of(update.columns.begin(), update.columns.end(), is_version);
}

std::string statement_of(const RowUpdate& update) {
  std::string sql;
  sql.reserve(512);
  sql.append("UPDATE dbo.").append(identifier(update.table->name));
  const char* before = " SET ";
  for (const auto& column : update.columns) {
    sql.append(std::exchange(before, ", ")).append(identifier(column.name)).append(" = ?");
  }
  if (bumps_version(update)) sql.append(", RowVersion = (SELECT Version FROM dbo.DW_ROW_VERSION)");
  before = " WHERE ";
  for (const auto& column : update.table->key) {
    sql.append(std::exchange(before, " AND ")).append(identifier(column)).append(" IS ?");
  }
  if (update.version) sql.append(" AND RowVersion IS ?");
  return sql;
}

Write write_of(RowUpdate update) {
  Write write{.statement = statement_of(update), .values = {}, .one_row = true};
  write.bumps_version = bumps_version(update);
  for (auto& column : update.columns) {
    if (is_payload(column.value) && column.name == kPayloadColumn && has_payloads(*update.table)) {
      write.payload = {update.table, update.key, static_cast<int>(write.values.size()) + 1,
                       std::get<Blob>(column.value).bytes};
    }
    write.values.push_back(std::move(column.value));
  }
  std::move(update.key.begin(), update.key.end(), std::back_inserter(write.values));
  if (update.version) write.values.push_back(std::move(*update.version));
  return write;
}

template <class Container, class Value>
bool contains(const Container& container, const Value& value) {
  return std::find(container.begin(), container.end(), value) != container.end();
}

}  // namespace

WriteLog::WriteLog(Database& database, Catalog& catalog, RowLocks& locks)
    : database_(database),
      catalog_(catalog),
      locks_(locks),
      locks_of_transaction_(locks, RowLocks::Set::Listing::kListed) {}

void WriteLog::begin_load() {
  database_.begin_immediate();
  in_transaction_ = true;
  loading_ = true;
  try {
    catalog_.refresh(database_);
  } catch (...) {
    rollback();  // a caller whom this throws at has no transaction to end
    throw;
  }
}

void WriteLog::commit() {
  const bool has_written = loading_ || !log_.empty();
  if (loading_) database_.commit();
  if (!log_.empty()) {
    RowLocks::Set locks(locks_, RowLocks::Set::Listing::kUnlisted);
    in_file_transaction(locks, Ending::kCommit,
                        [&](RowLocker& locker) { return apply_log(database_, locker); });
  }
  rollback();
  // Behind everything that others wait for: the log goes to the disk as a whole, so that whoever
  // builds on these changes cannot make his own last without them.
  if (has_written) database_.sync_log();
}

void WriteLog::rollback() noexcept {
  if (std::exchange(loading_, false)) database_.rollback();
  log_.clear();
  rows_at_hand_.clear();
  locks_of_transaction_.release();
  in_transaction_ = false;
}

void WriteLog::write(Write write) {
  if (loading_) return apply_at_once(write);
  using Listing = RowLocks::Set::Listing;
  RowLocks::Set locks(locks_, in_transaction_ ? Listing::kListed : Listing::kUnlisted);
  if (!in_transaction_) {
    in_file_transaction(locks, Ending::kCommit,
                        [&](RowLocker& locker) { return apply(write, database_, locker); });
    locks.release();
    database_.sync_log();
    return;
  }
  bool has_changed = false;
  in_file_transaction(locks, Ending::kRollback, [&](RowLocker& locker) {
    if (!apply_log(database_, locker)) return false;
    const auto changes = [&] {
      return std::pair(sqlite3_total_changes(database_.handle()), catalog_.version());
    };
    const auto before = changes();
    const bool applied = apply(write, database_, locker);
    has_changed = changes() != before;
    return applied;
  });
  // Carried out again it would find rows that others have committed meanwhile.
  if (!has_changed) return;
  locks_.publish_stamps();
  locks_of_transaction_.absorb(locks);  // before the write counts: no row of the log is unlocked
  log_.emplace_back(std::move(write));
  rows_at_hand_.clear();
}

void WriteLog::apply_at_once(const Write& write) {
  // A full disk has SQLite roll back by itself, as has a row of another session below: what is
  // written behind that would be committed at once.
  if (!database_.in_transaction()) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        u"The transaction has been rolled back by the database.");
  }
  RowLocker locker(database_, catalog_, locks_, locks_of_transaction_);
  if (!apply(write, database_, locker)) throw ado::lock_timeout();
}

void WriteLog::add_row_at_hand(const Table& table, std::span<const ado::Cell> key,
                               std::optional<StoredValue> version) {
  const auto byte = lock_byte(table.region, key);
  if (loading_ || find_at_hand(byte) != nullptr) return;
  // Behind entries of the log the version may be one that nobody will ever see in the file.
  if (!log_.empty()) version.reset();
  rows_at_hand_.push_back({byte, std::move(version)});
}

WriteLog::RowAtHand* WriteLog::find_at_hand(std::int64_t byte) {
  const auto row = std::find_if(rows_at_hand_.begin(), rows_at_hand_.end(),
                                [&](const RowAtHand& at_hand) { return at_hand.byte == byte; });
  return row == rows_at_hand_.end() ? nullptr : &*row;
}

void WriteLog::update(RowUpdate update, std::span<const ado::Cell> key) {
  RowAtHand* const row = find_at_hand(lock_byte(update.table->region, key));
  if (row != nullptr) update.version = row->version;
  if (row == nullptr || !cannot_fail(update)) return write(write_of(std::move(update)));
  for (const auto& column : update.columns) {
    if (sqlite3_stricmp(column.name.c_str(), "SoftLock") != 0) continue;
    const auto* const stamp = std::get_if<std::string>(&column.value);
    locks_.set_stamp(*update.table, key, stamp != nullptr ? *stamp : std::string_view());
  }
  locks_.publish_stamps();
  // What is left of the key's columns is the key as it stands; to write it would have SQLite move
  // the row.
  const auto in_key = [&](const auto& column) { return contains(update.table->key, column.name); };
  if (!std::all_of(update.columns.begin(), update.columns.end(), in_key)) {
    std::erase_if(update.columns, in_key);
  }
  row->version.reset();  // the update gives the row another one
  append(std::move(update));
}

bool WriteLog::cannot_fail(const RowUpdate& update) {
  const auto& table = *update.table;
  return table.plain &&
         std::all_of(update.columns.begin(), update.columns.end(), [&](const auto& column) {
           const auto in_key = std::find(table.key.begin(), table.key.end(), column.name);
           if (in_key != table.key.end()) {
             return column.value ==
                    update.key[static_cast<std::size_t>(in_key - table.key.begin())];
           }
           return !std::holds_alternative<std::nullptr_t>(column.value) ||
                  !contains(table.required, column.name);
         });
}

void WriteLog::append(RowUpdate update) {
  // An update that the session has seen the result of stands for itself: the next one has to give
  // the row another version.
  auto* const last = log_.empty() || last_seen_ ? nullptr : std::get_if<RowUpdate>(&log_.back());
  last_seen_ = false;
  if (last == nullptr || last->table != update.table || last->key != update.key) {
    log_.emplace_back(std::move(update));
    return;
  }
  for (auto& column : update.columns) {
    const auto there =
        std::find_if(last->columns.begin(), last->columns.end(),
                     [&](const auto& candidate) { return candidate.name == column.name; });
    if (there != last->columns.end()) {
      there->value = std::move(column.value);
    } else {
      last->columns.push_back(std::move(column));
    }
  }
}

void WriteLog::read(const std::function<void(Database&)>& body) {
  if (log_.empty()) return body(database_);
  last_seen_ = true;
  RowLocks::Set locks(locks_, RowLocks::Set::Listing::kUnlisted);
  while_blocked(locks, [&] {
    Shadow shadow(database_);
    catalog_.refresh(shadow.database());
    set_versions_apart(shadow.database());
    RowLocker locker(shadow.database(), catalog_, locks_, locks);
    if (apply_log(shadow.database(), locker)) body(shadow.database());
    return locker.blocking_byte();
  });
}

void WriteLog::in_file_transaction(RowLocks::Set& locks, Ending ending,
                                   const std::function<bool(RowLocker&)>& body) {
  while_blocked(locks, [&] {
    const FileTransaction transaction(database_);
    RowLocker locker(database_, catalog_, locks_, locks);
    catalog_.refresh(database_);
    if (body(locker) && ending == Ending::kCommit) database_.commit();
    return locker.blocking_byte();
  });
}

void WriteLog::while_blocked(RowLocks::Set& locks,
                             const std::function<std::optional<std::int64_t>()>& attempt) {
  while (const auto byte = attempt()) {
    // Nothing may be held while waiting that was not held before: two sessions would wait for each
    // other without end.
    locks.release();
    while (locks_.is_foreign(*byte)) {
      if (!database_.time().pause()) throw ado::lock_timeout();
    }
  }
}

bool WriteLog::apply_log(Database& database, RowLocker& locker) {
  return std::all_of(log_.begin(), log_.end(), [&](const Entry& entry) {
    return std::visit([&](const auto& write) { return apply(write, database, locker); }, entry);
  });
}

bool WriteLog::apply(const Write& write, Database& database, RowLocker& locker, Run run) {
  if (write.bumps_version) {
    const Execution bump(database, database.statement(kBumpVersion));
    (locker.*run)(bump.statement());  // of a table without a key: it waits for nobody
  }
  // In a load a statement that fails leaves those before it standing, and nothing of its own.
  const auto payload = loading_ ? std::nullopt : write.payload;
  std::optional<std::int64_t> row;
  if (payload) row = row_id(database, *payload->table, payload->key);
  sqlite3_stmt* const statement = write.author == Write::Author::kClient
                                      ? database.client_statement(write.statement)
                                      : database.statement(write.statement);
  const Execution execution(database, statement, write.values);
  if (payload) {
    const int code = sqlite3_bind_zeroblob64(statement, payload->parameter, payload->bytes.size());
    // Untaken: it takes a payload of a gigabyte.
    if (code != SQLITE_OK) database.fail(code);
  }
  if (!(locker.*run)(statement)) return false;
  if (!write.one_row) {
    catalog_.refresh(database);  // it may have made or changed a table
  } else if (sqlite3_changes(database.handle()) != 1) {
    throw ado::AdoError(ado::AdoErrorNumber::kRowNotLocated);
  }
  if (row) {
    locker.unlocked(
        [&] { write_payload(database.handle(), *payload->table, *row, payload->bytes); });
  }
  return true;
}

bool WriteLog::apply(const RowUpdate& update, Database& database, RowLocker& locker) {
  const bool locked = catalog_.find(update.table->name) == update.table;
  return apply(write_of(update), database, locker,
               locked ? &RowLocker::run_unlocked : &RowLocker::run);
}

}  // namespace tarnwick::sqlite
