#pragma once

#include <chrono>
#include <vector>

#include "apps/tarnwick/examination/finding.h"
#include "apps/tarnwick/output/holds.h"
#include "runtime/date.h"

namespace tarnwick::cli {

/// Which rows have been held for `longest` and longer; zero: all.
[[nodiscard]] Findings examine_holds(const std::vector<Hold>& holds, Date now,
                                     std::chrono::minutes longest);

}  // namespace tarnwick::cli
