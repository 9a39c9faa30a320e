#pragma once

#include <memory>

#include "ado/connection.h"
#include "apps/tarnwick/examination/finding.h"

namespace tarnwick::cli {

/// What is wrong in the rows of the three tables, in the order of their keys. Reads them past the
/// object model, which leaves out what it cannot load, and waits for no row that somebody
/// maintains: that is looked at as it stands. Throws Error.
[[nodiscard]] Findings examine_tables(const std::shared_ptr<ado::Connection>& connection);

}  // namespace tarnwick::cli
