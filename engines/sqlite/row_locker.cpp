#include "engines/sqlite/row_locker.h"

#include <cstring>
#include <memory>
#include <utility>

#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {

RowLocker::RowLocker(Database& database, const Catalog& catalog, RowLocks& locks,
                     RowLocks::Set& set)
    : database_(database), catalog_(catalog), locks_(locks), set_(set) {
  hook();
}

RowLocker::~RowLocker() { database_.hook_changes(nullptr, nullptr); }

void RowLocker::hook() { database_.hook_changes(before_change, this); }

bool RowLocker::run(sqlite3_stmt* statement) {
  int code = sqlite3_step(statement);
  while (code == SQLITE_ROW) code = sqlite3_step(statement);
  if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
  if (blocking_byte_) return false;
  if (code != SQLITE_DONE) database_.fail(code);
  return true;
}

bool RowLocker::run_unlocked(sqlite3_stmt* statement) {
  const std::unique_ptr<RowLocker, HookAgain> unhooked(this);
  database_.unhook_changes();
  return run(statement);
}

void RowLocker::unlocked(const std::function<void()>& change) {
  const std::unique_ptr<RowLocker, HookAgain> unhooked(this);
  database_.unhook_changes();
  change();
}

void RowLocker::before_change(void* locker, sqlite3* handle, int operation, const char* schema,
                              const char* table, sqlite3_int64 /*old_id*/,
                              sqlite3_int64 /*new_id*/) {
  auto& self = *static_cast<RowLocker*>(locker);
  if (self.blocking_byte_ || std::strcmp(schema, "temp") == 0) return;
  try {
    self.lock_changed_row(operation, table);
  } catch (...) {
    self.failure_ = std::current_exception();
  }
  if (self.blocking_byte_ || self.failure_) sqlite3_interrupt(handle);
}

void RowLocker::lock_changed_row(int operation, const char* table_name) {
  const auto table = catalog_.find(table_name);
  if (table == nullptr) return;
  const auto lock = [&] {
    if (!locks_.try_lock(set_, *table, key_)) blocking_byte_ = lock_byte(table->region, key_);
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
                   stamp.kind == ado::Cell::Kind::kUtf8 ? stamp.view() : std::string_view());
}

void RowLocker::read_key(const Table& table, Getter getter) {
  key_.clear();
  for (const int column : table.key_columns) key_.push_back(changed_value(column, getter));
}

ado::Cell RowLocker::changed_value(int column, Getter getter) const {
  sqlite3_value* value = nullptr;
  const int code = getter(database_.handle(), column, &value);
  if (code != SQLITE_OK) database_.fail(code);
  return cell_of(value);
}

}  // namespace tarnwick::sqlite
