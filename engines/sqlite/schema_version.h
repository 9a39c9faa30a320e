#pragma once

#include <cstdint>

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// The version that the database says its tables are of; 0 for one that says none.
[[nodiscard]] std::int64_t user_version(Database& database);

/// Whether the tables were made by an older version of this program. Older programs gave none, as
/// tables say none that somebody made otherwise: those have no counter of row versions.
[[nodiscard]] bool is_older_schema(Database& database);

/// Throws unless the database has application roles, and tables that are no newer than this
/// program: what a newer one made may be kept in ways that would be broken here.
void require_known_schema(Database& database);

/// The same; throws for older tables too, with the advice to upgrade them.
void require_own_schema(Database& database);

}  // namespace tarnwick::sqlite
