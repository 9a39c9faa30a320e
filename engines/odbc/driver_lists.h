#pragma once

#include <vector>

#include "engines/odbc/handles.h"
#include "engines/odbc/registered_driver.h"

namespace tarnwick::odbc {

/// The names under which drivers are registered with the driver manager.
[[nodiscard]] std::vector<Text> list_drivers(const Handle& environment);

/// The data sources that the driver manager knows, its user's before the system's.
[[nodiscard]] std::vector<DataSource> list_data_sources(const Handle& environment);

}  // namespace tarnwick::odbc
