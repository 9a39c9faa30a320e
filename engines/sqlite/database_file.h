#pragma once

#include <filesystem>

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// The file of the database `name` in `folder`. Throws AdoError for a name that is no plain file
/// name.
[[nodiscard]] std::filesystem::path database_file(const std::filesystem::path& folder,
                                                  TextView name);

/// Throws AdoError, with SQL Server's native number for an unknown database, unless `file` is a
/// file.
void require_database_file(const std::filesystem::path& file);

/// The file beside `database` that carries the row locks. To be asked with the database's real
/// name: whoever reaches one database by different ways has to meet at one lock file.
[[nodiscard]] std::filesystem::path lock_file(const std::filesystem::path& database);

/// `file` for a description, in quotes.
[[nodiscard]] Text file_text(const std::filesystem::path& file);

}  // namespace tarnwick::sqlite
