#pragma once

#include <cstdint>
#include <map>

#include "apps/tarnwick/examination/finding.h"

namespace tarnwick::cli {

/// Which components, by id and with the ids of their parents (0: at the top), have a parent that is
/// not there, and which stand in a circle: each circle once, under its lowest id.
[[nodiscard]] Findings examine_parents(const std::map<std::int16_t, std::int16_t>& parents);

}  // namespace tarnwick::cli
