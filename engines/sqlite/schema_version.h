#pragma once

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// Throws unless the database has application roles, and tables that this program knows: a file
/// that a newer program made may keep its data in ways that would be broken here.
void require_own_schema(Database& database);

}  // namespace tarnwick::sqlite
