#pragma once

#include <filesystem>

#include "engines/sqlite/catalog.h"
#include "engines/sqlite/database.h"
#include "engines/sqlite/database_file.h"
#include "engines/sqlite/files.h"
#include "engines/sqlite/row_locks.h"
#include "engines/sqlite/schema_version.h"
#include "engines/sqlite/write_log.h"

namespace tarnwick::sqlite {

/// A session's database with all that belongs to it.
struct OpenDatabase {
  /// Throws for a file that is none of our databases, before anything was made or written. The
  /// limits are those of CallTime; `lock_timeout` is looked at before every call.
  OpenDatabase(const std::filesystem::path& file, const std::int32_t& lock_timeout,
               CallTime::Limit statement_limit)
      : database(file),
        locks(lock_file_of(database, file), file),
        log(database, catalog, locks),
        lock_timeout_(lock_timeout),
        statement_limit_(statement_limit) {}

  /// To be called when a client's call begins: from now on its time counts.
  void start_call() { database.time().start(lock_timeout_, statement_limit_); }

  Database database;
  Catalog catalog;
  RowLocks locks;
  WriteLog log;

 private:
  static std::filesystem::path lock_file_of(Database& database, const std::filesystem::path& file) {
    require_own_schema(database);
    auto found = lock_file(real_path(file));
    if (!std::filesystem::exists(found) && !may_make_files(found.parent_path())) {
      throw_sqlite_error(nullptr, SQLITE_READONLY_DIRECTORY);
    }
    return found;
  }

  const std::int32_t& lock_timeout_;
  CallTime::Limit statement_limit_;
};

}  // namespace tarnwick::sqlite
