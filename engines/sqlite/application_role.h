#pragma once

#include <string_view>

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// Adds the application role `name`, which the database does not have yet.
void add_role(Database& database, std::string_view name, std::string_view password);

/// Whether the database has the role `name` (letter case aside) with this password. Takes the same
/// time for an unknown name as for a wrong password.
[[nodiscard]] bool role_admits(Database& database, std::string_view name,
                               std::string_view password);

/// Whether the database keeps application roles at all.
[[nodiscard]] bool has_roles(Database& database);

}  // namespace tarnwick::sqlite
