#pragma once

#include <filesystem>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/database.h"
#include "engines/sqlite/row_locks.h"
#include "engines/sqlite/write_log.h"

namespace tarnwick::sqlite {

/// A session's database with all that belongs to it.
struct OpenDatabase {
  /// `lock_timeout` in milliseconds, as LockWait takes it; looked at before every call.
  OpenDatabase(const std::filesystem::path& file, const std::filesystem::path& lock_file,
               const std::int32_t& lock_timeout)
      : database(file),
        locks(lock_file, file),
        log(database, catalog, locks),
        lock_timeout_(lock_timeout) {}

  /// To be called when a client's call begins: from now on its waits count.
  void start_wait() { database.wait().start(lock_timeout_); }

  Database database;
  Catalog catalog;
  RowLocks locks;
  WriteLog log;

 private:
  const std::int32_t& lock_timeout_;
};

}  // namespace tarnwick::sqlite
