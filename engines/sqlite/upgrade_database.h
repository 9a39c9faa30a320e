#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// What became of the tables of a database.
struct Upgrade {
  std::filesystem::path file;
  /// The version that they had, and the one that they have now.
  std::int64_t from = 0;
  std::int64_t to = 0;
  /// What was changed, one phrase each; empty where there was nothing to do.
  std::vector<Text> changes = {};
};

/// Brings the tables of the embedded database `name` in `folder` to the version that this program
/// makes, in one transaction: while somebody else writes, it waits for ten seconds; sessions that
/// are open go on. Leaves tables alone that are of this version, or that were made otherwise (see
/// is_older_schema). Throws AdoError when there is no such database, when it is of a newer version,
/// and when it cannot be written; it is as it was then.
Upgrade upgrade_database(const std::filesystem::path& folder, TextView name);

/// Whether the tables of that database are of an older version. Never throws: false where it cannot
/// be told.
[[nodiscard]] bool needs_upgrade(const std::filesystem::path& folder, TextView name);

}  // namespace tarnwick::sqlite
