#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// Adds the application role `name`, which the database does not have yet.
void add_role(Database& database, std::string_view name, std::string_view password);

/// Whether the database has the role `name` (letter case aside) with this password. Takes the same
/// time for an unknown name as for a wrong password.
[[nodiscard]] bool role_admits(Database& database, std::string_view name,
                               std::string_view password);

/// Throws, with SQL Server's native number for it, unless the database has the role `name` with
/// this password.
void require_role(Database& database, std::string_view name, std::string_view password);

/// The names of all roles, in order.
[[nodiscard]] std::vector<std::string> role_names(Database& database);

/// Whether the database has the role `name` (letter case aside).
[[nodiscard]] bool has_role(Database& database, std::string_view name);

/// Of a role that the database has.
void set_role_password(Database& database, std::string_view name, std::string_view password);
void remove_role(Database& database, std::string_view name);

/// UTF-8 of a role's name or password, which `what` calls it. Throws for a NUL character and for an
/// unpaired surrogate.
[[nodiscard]] std::string role_text(TextView text, TextView what);

/// Whether the database keeps application roles at all.
[[nodiscard]] bool has_roles(Database& database);

}  // namespace tarnwick::sqlite
