#include "apps/tarnwick/examination/component_parents.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <set>
#include <vector>

namespace tarnwick::cli {
namespace {

using Parents = std::map<std::int16_t, std::int16_t>;

constexpr std::int16_t kTop = 0;

std::string move_to_top(std::int16_t id) {
  // The commands name no others.
  return id < 0 ? std::string() : fmt::format("tarnwick component set {} --parent 0", id);
}

// The circle that whoever climbs from `id` comes to; nothing where he comes to a top, or to
// somebody in `known`.
std::vector<std::int16_t> circle_above(const Parents& parents, std::int16_t id,
                                       const std::set<std::int16_t>& known) {
  std::vector<std::int16_t> climbed;
  for (auto at = parents.find(id); at != parents.end(); at = parents.find(at->second)) {
    if (known.contains(at->first)) return {};
    const auto again = std::ranges::find(climbed, at->first);
    if (again != climbed.end()) return {again, climbed.end()};
    climbed.push_back(at->first);
    if (at->second == kTop) return {};
  }
  return {};
}

Finding told_of(std::vector<std::int16_t> circle) {
  std::rotate(circle.begin(), std::ranges::min_element(circle), circle.end());
  const std::int16_t id = circle.front();
  std::string what = "it is its own parent";
  if (circle.size() > 1) {
    what = fmt::format("it stands in a circle: {} is below {}", id,
                       fmt::join(circle.begin() + 1, circle.end(), ", that below "));
    what += fmt::format(", and that below {} again", id);
  }
  return {"Circle", fmt::format("Component {}", id), what, move_to_top(id)};
}

}  // namespace

Findings examine_parents(const Parents& parents) {
  Findings findings;
  std::set<std::int16_t> known;
  for (const auto& [id, parent] : parents) {
    if (parent != kTop && !parents.contains(parent)) {
      findings.push_back({"ParentMissing", fmt::format("Component {}", id),
                          fmt::format("its parent {} does not exist", parent), move_to_top(id)});
    }
    auto circle = circle_above(parents, id, known);
    if (circle.empty()) continue;
    known.insert(circle.begin(), circle.end());
    findings.push_back(told_of(std::move(circle)));
  }
  return findings;
}

}  // namespace tarnwick::cli
