#pragma once

#include <span>

#include "ado/connection_string.h"
#include "runtime/text.h"

namespace tarnwick::odbc {

/// A data source that the driver manager knows by name, and what it says of its driver.
struct DataSource {
  Text name;
  Text driver;
};

/// Throws AdoError for a connection string that could make the driver manager or a driver load
/// another library than that of one of the registered `drivers`: a driver that is named by its
/// file, a data source that is a file, is unknown or names its driver so, an item that makes a
/// driver load something, and a value that a driver manager might take for several items. The text
/// names the item and never its value.
void require_registered_driver(const ado::ConnectionString& string, std::span<const Text> drivers,
                               std::span<const DataSource> sources);

}  // namespace tarnwick::odbc
