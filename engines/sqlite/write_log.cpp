#include "engines/sqlite/write_log.h"

#include <cstring>
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

}  // namespace

WriteLog::WriteLog(Database& database, Catalog& catalog, RowLocks& locks)
    : database_(database),
      catalog_(catalog),
      locks_(locks),
      locks_of_transaction_(locks, RowLocks::Set::Listing::kListed) {
  sqlite3_preupdate_hook(database_.handle(), before_change, this);
}

WriteLog::~WriteLog() { sqlite3_preupdate_hook(database_.handle(), nullptr, nullptr); }

void WriteLog::commit() {
  if (!log_.empty()) {
    RowLocks::Set locks(locks_, RowLocks::Set::Listing::kUnlisted);
    in_file_transaction(locks, Ending::kCommit, [&] { return apply_log(); });
  }
  rollback();
}

void WriteLog::rollback() noexcept {
  log_.clear();
  locks_of_transaction_.release();
  in_transaction_ = false;
}

void WriteLog::write(Write write) {
  using Listing = RowLocks::Set::Listing;
  RowLocks::Set locks(locks_, in_transaction_ ? Listing::kListed : Listing::kUnlisted);
  if (!in_transaction_) {
    in_file_transaction(locks, Ending::kCommit, [&] { return apply(write); });
    return;
  }
  in_file_transaction(locks, Ending::kRollback, [&] { return apply_log() && apply(write); });
  log_.push_back(std::move(write));
  locks_of_transaction_.absorb(locks);
  locks_.publish_stamps();
}

void WriteLog::read(const std::function<void()>& body) {
  if (log_.empty()) return body();
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
  for (const auto& write : log_) {
    if (!apply(write)) return false;
  }
  return true;
}

bool WriteLog::apply(const Write& write) {
  catalog_.refresh(database_);
  sqlite3_stmt* const statement = database_.statement(write.statement);
  const ResetAtEnd reset(statement);
  int index = 0;
  for (const auto& value : write.values) bind(statement, ++index, value);
  hook_failure_ = nullptr;
  int code = sqlite3_step(statement);
  while (code == SQLITE_ROW) code = sqlite3_step(statement);
  if (hook_failure_) std::rethrow_exception(std::exchange(hook_failure_, nullptr));
  if (blocking_byte_) return false;
  if (code != SQLITE_DONE) database_.fail(code);
  if (write.one_row && sqlite3_changes(database_.handle()) != 1) {
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
