#pragma once

#include <vector>

namespace tarnwick::benchmarks {

/// The value below which the share `share` (0 to 1) of the values lies, interpolated between two of
/// them. 0 of no values.
[[nodiscard]] double quantile(std::vector<double> values, double share);

[[nodiscard]] double median(std::vector<double> values);

/// The distance between the quartiles over the median: how far the middle half of the values lies
/// apart. 0 of no values.
[[nodiscard]] double spread(const std::vector<double>& values);

}  // namespace tarnwick::benchmarks
