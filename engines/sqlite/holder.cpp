#include "engines/sqlite/holder.h"

#include "engines/sqlite/database_file.h"
#include "engines/sqlite/files.h"
#include "engines/sqlite/row_locks.h"

namespace tarnwick::sqlite {

std::map<std::int64_t, Holder> holders_of(const std::filesystem::path& folder, TextView name) {
  const auto file = database_file(folder, name);
  require_database_file(file);
  return RowLocks(lock_file(real_path(file)), file).holders();
}

}  // namespace tarnwick::sqlite
