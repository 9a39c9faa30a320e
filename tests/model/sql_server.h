#pragma once

#include "tests/model/played_system.h"

namespace tarnwick::model {

/// On what stands in for SQL Server, one for all databases of a program. The observer sees what is
/// not committed, and writes no row that somebody holds.
[[nodiscard]] std::unique_ptr<PlayedDatabase> make_sql_server_database();

}  // namespace tarnwick::model
