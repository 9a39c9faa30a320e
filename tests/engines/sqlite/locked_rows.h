#pragma once

#include <filesystem>
#include <limits>

#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/row_locks.h"

namespace tarnwick::sqlite {

/// Whether any session holds a row of the database in `file`, or says that it does. That a session
/// keeps the place of a record is neither.
[[nodiscard]] inline bool any_row_locked(const std::filesystem::path& file) {
  const std::filesystem::path locks = file.string() + "-locks";
  if (!std::filesystem::exists(locks)) return false;
  constexpr ByteRange kPlaces = RowLocks::kRecordPlaces;
  constexpr auto kLast = std::numeric_limits<std::int64_t>::max() - 1;
  const ByteRangeLocks others(locks, file);
  return !others.foreign_locks({0, kPlaces.first - 1}).empty() ||
         !others.foreign_locks({kPlaces.last + 1, kLast}).empty();
}

}  // namespace tarnwick::sqlite
