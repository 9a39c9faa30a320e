#pragma once

#include <memory>
#include <vector>

#include "ado/connection.h"
#include "apps/tarnwick/output/holds.h"

namespace tarnwick::cli {

/// Says of each of `holds`, which `in_role` has told, which session of the SQL Server holds it, and
/// what that session said of its process, its program and its login. The server tells so only
/// outside an application role, and to logins with the right VIEW SERVER STATE: `outside` is a
/// connection of the same login to the same database that has entered none. Throws Error, and has
/// changed none then, where the login may not see it.
void name_sessions(std::vector<Hold>& holds, const std::shared_ptr<ado::Connection>& in_role,
                   const std::shared_ptr<ado::Connection>& outside);

}  // namespace tarnwick::cli
