#include "engines/sqlite/write_log.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

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

std::string statement_of(const RowUpdate& update) {
  std::string sql;
  sql.reserve(512);
  sql.append("UPDATE dbo.").append(identifier(update.table->name));
  const char* before = " SET ";
  for (const auto& column : update.columns) {
    sql.append(std::exchange(before, ", ")).append(identifier(column.name)).append(" = ?");
  }
  before = " WHERE ";
  for (const auto& column : update.table->key) {
    sql.append(std::exchange(before, " AND ")).append(identifier(column)).append(" IS ?");
  }
  if (update.version) sql.append(" AND RowVersion IS ?");
  return sql;
}

Write write_of(RowUpdate update) {
  Write write{.statement = statement_of(update), .values = {}, .one_row = true};
  for (auto& column : update.columns) write.values.push_back(std::move(column.value));
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
      locks_of_transaction_(locks, RowLocks::Set::Listing::kListed) {
  hook();
}

WriteLog::~WriteLog() { unhook(); }

void WriteLog::hook() { sqlite3_preupdate_hook(database_.handle(), before_change, this); }

void WriteLog::unhook() { sqlite3_preupdate_hook(database_.handle(), nullptr, nullptr); }

void WriteLog::begin_load() {
  database_.begin_immediate();
  in_transaction_ = true;
  loading_ = true;
  catalog_.refresh(database_);
}

void WriteLog::commit() {
  if (loading_) database_.commit();
  if (!log_.empty()) {
    RowLocks::Set locks(locks_, RowLocks::Set::Listing::kUnlisted);
    in_file_transaction(locks, Ending::kCommit, [&] { return apply_log(); });
  }
  rollback();
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
    in_file_transaction(locks, Ending::kCommit, [&] { return apply(write); });
    return;
  }
  in_file_transaction(locks, Ending::kRollback, [&] { return apply_log() && apply(write); });
  locks_.publish_stamps();
  log_.emplace_back(std::move(write));
  rows_at_hand_.clear();
  locks_of_transaction_.absorb(locks);
}

void WriteLog::apply_at_once(const Write& write) {
  // A full disk has SQLite roll back by itself, as has a row of another session below: what is
  // written behind that would be committed at once.
  if (!database_.in_transaction()) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        u"The transaction has been rolled back by the database.");
  }
  taking_ = &locks_of_transaction_;
  blocking_byte_.reset();
  if (!apply(write)) throw ado::lock_timeout();
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

void WriteLog::read(const std::function<void()>& body) {
  if (log_.empty()) return body();
  last_seen_ = true;
  RowLocks::Set locks(locks_, RowLocks::Set::Listing::kUnlisted);
  in_file_transaction(locks, Ending::kRollback, [&] {
    if (!apply_log()) return false;
    body();
    return true;
  });
}

void WriteLog::in_file_transaction(RowLocks::Set& locks, Ending ending,
                                   const std::function<bool()>& body) {
  for (;;) {
    {
      const FileTransaction transaction(database_);
      taking_ = &locks;
      blocking_byte_.reset();
      catalog_.refresh(database_);
      if (body()) {
        if (ending == Ending::kCommit) database_.commit();
        return;
      }
    }
    // Nothing may be held while waiting that was not held before: two sessions would wait for each
    // other without end.
    locks.release();
    wait_for_blocking_row();
  }
}

void WriteLog::wait_for_blocking_row() {
  while (locks_.is_foreign(*blocking_byte_)) {
    if (!database_.wait().pause()) throw ado::lock_timeout();
  }
}

bool WriteLog::apply_log() {
  return std::all_of(log_.begin(), log_.end(), [&](const Entry& entry) {
    return std::visit([&](const auto& write) { return apply(write); }, entry);
  });
}

bool WriteLog::apply(const Write& write) {
  sqlite3_stmt* const statement = database_.statement(write.statement);
  const ResetAtEnd reset(statement);
  bind_all(statement, write.values);
  return run(statement, write.one_row);
}

bool WriteLog::apply(const RowUpdate& update) {
  sqlite3_stmt* const statement = database_.statement(statement_of(update));
  const ResetAtEnd reset(statement);
  int index = 0;
  for (const auto& column : update.columns) bind(statement, ++index, column.value);
  for (const auto& value : update.key) bind(statement, ++index, value);
  if (update.version) bind(statement, ++index, *update.version);
  if (catalog_.find(update.table->name) != update.table) return run(statement, true);
  // The one row that this writes is locked: to be told of it costs time and tells nothing.
  const std::unique_ptr<WriteLog, HookAgain> unhooked(this);
  unhook();
  return run(statement, true);
}

bool WriteLog::run(sqlite3_stmt* statement, bool one_row) {
  hook_failure_ = nullptr;
  int code = sqlite3_step(statement);
  while (code == SQLITE_ROW) code = sqlite3_step(statement);
  if (hook_failure_) std::rethrow_exception(std::exchange(hook_failure_, nullptr));
  if (blocking_byte_) return false;
  if (code != SQLITE_DONE) database_.fail(code);
  if (!one_row) {
    catalog_.refresh(database_);  // it may have made or changed a table
  } else if (sqlite3_changes(database_.handle()) != 1) {
    throw ado::AdoError(ado::AdoErrorNumber::kRowNotLocated);
  }
  return true;
}

void WriteLog::before_change(void* log, sqlite3* handle, int operation, const char* schema,
                             const char* table, sqlite3_int64 /*old_id*/,
                             sqlite3_int64 /*new_id*/) {
  auto& self = *static_cast<WriteLog*>(log);
  if (self.blocking_byte_ || std::strcmp(schema, "temp") == 0) return;
  try {
    self.lock_changed_row(operation, table);
  } catch (...) {
    self.hook_failure_ = std::current_exception();
  }
  if (self.blocking_byte_ || self.hook_failure_) sqlite3_interrupt(handle);
}

void WriteLog::lock_changed_row(int operation, const char* table_name) {
  const auto table = catalog_.find(table_name);
  if (table == nullptr) return;
  const auto lock = [&] {
    if (!locks_.try_lock(*taking_, *table, key_)) {
      blocking_byte_ = lock_byte(table->region, key_);
    }
  };
  if (operation != SQLITE_INSERT) {
    read_key(*table, sqlite3_preupdate_old);
    lock();
  }
  if (operation == SQLITE_DELETE || blocking_byte_) return;
  read_key(*table, sqlite3_preupdate_new);
  lock();
  if (table->soft_lock_column < 0 || blocking_byte_) return;
  const auto stamp = changed_value(table->soft_lock_column, sqlite3_preupdate_new);
  locks_.set_stamp(*table, key_,
                   stamp.kind == ado::Cell::Kind::kUtf8
                       ? std::string_view(reinterpret_cast<const char*>(stamp.data), stamp.size)
                       : std::string_view());
}

void WriteLog::read_key(const Table& table, Getter getter) {
  key_.clear();
  for (const int column : table.key_columns) key_.push_back(changed_value(column, getter));
}

ado::Cell WriteLog::changed_value(int column, Getter getter) const {
  sqlite3_value* value = nullptr;
  const int code = getter(database_.handle(), column, &value);
  if (code != SQLITE_OK) database_.fail(code);
  return cell_of(value);
}

}  // namespace tarnwick::sqlite
