#include "benchmarks/results/statistics.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarnwick::benchmarks {

double quantile(std::vector<double> values, double share) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const double place = share * static_cast<double>(values.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, values.size() - 1);
  return std::lerp(values[below], values[above], place - std::floor(place));
}

double median(std::vector<double> values) { return quantile(std::move(values), 0.5); }

double spread(const std::vector<double>& values) {
  const double middle = median(values);
  if (middle == 0) return 0;
  return (quantile(values, 0.75) - quantile(values, 0.25)) / middle;
}

}  // namespace tarnwick::benchmarks
