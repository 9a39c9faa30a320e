#include "apps/tarnwick/output/component_tree.h"

#include <algorithm>
#include <array>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/output/values.h"
#include "apps/tarnwick/terminal/pager.h"

namespace tarnwick::cli {
namespace {

std::int16_t id_of(const Row& component) { return component.get<Component, "CompID">(); }
std::int16_t parent_of(const Row& component) { return component.get<Component, "ParentID">(); }
std::int16_t priority_of(const Row& component) { return component.get<Component, "Priority">(); }

using Siblings = std::vector<const Row*>;

// The last one first: they are taken from the end.
void sort_backwards(Siblings& siblings) {
  std::ranges::sort(siblings, [](const Row* a, const Row* b) {
    return std::pair(priority_of(*a), id_of(*a)) > std::pair(priority_of(*b), id_of(*b));
  });
}

class Walk {
 public:
  explicit Walk(const std::vector<Row>& components) {
    for (const Row& row : components) by_id_.emplace(id_of(row), &row);
    for (const Row& row : components) {
      const bool top = parent_of(row) == 0 || !by_id_.contains(parent_of(row));
      (top ? tops_ : children_[parent_of(row)]).push_back(&row);
    }
    sort_backwards(tops_);
    for (auto& [parent, siblings] : children_) sort_backwards(siblings);
  }

  std::vector<TreeNode> nodes() {
    visit_all(tops_);
    // Whoever was not reached from the top belongs to a ring.
    while (!children_.empty()) visit_all({ring_above(children_.begin()->first)});
    return nodes_;
  }

 private:
  // Whoever climbs from a component that no top leads to ends up going round.
  [[nodiscard]] const Row* ring_above(std::int16_t id) const {
    std::set<std::int16_t> climbed;
    while (climbed.insert(id).second) id = parent_of(*by_id_.at(id));
    return by_id_.at(id);
  }

  void visit_all(const Siblings& tops) {
    std::vector<TreeNode> waiting;
    for (const Row* top : tops) waiting.push_back({top, 0});
    while (!waiting.empty()) {
      const TreeNode node = waiting.back();
      waiting.pop_back();
      if (!visited_.insert(id_of(*node.component)).second) continue;
      nodes_.push_back(node);
      const auto children = children_.extract(id_of(*node.component));
      if (children.empty()) continue;
      for (const Row* child : children.mapped()) {
        waiting.push_back({child, node.depth + 1});
      }
    }
  }

  std::map<std::int16_t, const Row*> by_id_;
  std::set<std::int16_t> visited_;
  Siblings tops_;
  std::map<std::int16_t, Siblings> children_;  // those that were not visited yet, by parent
  std::vector<TreeNode> nodes_;
};

nlohmann::ordered_json to_nested_json(const std::vector<TreeNode>& nodes) {
  nlohmann::ordered_json tops = nlohmann::ordered_json::array();
  // The lists that the present node and its ancestors stand in.
  std::vector<nlohmann::ordered_json*> levels{&tops};
  for (const TreeNode& node : nodes) {
    levels.resize(node.depth + 1);
    nlohmann::ordered_json json = to_json(*node.component);
    json["Children"] = nlohmann::ordered_json::array();
    levels.back()->push_back(std::move(json));
    levels.push_back(&levels.back()->back()["Children"]);
  }
  return tops;
}

}  // namespace

std::vector<TreeNode> in_tree_order(const std::vector<Row>& components) {
  return Walk(components).nodes();
}

void print_tree(const Options& options, const std::vector<Row>& components) {
  const std::vector<TreeNode> nodes = in_tree_order(components);
  if (options.json) return page(options, json_text(to_nested_json(nodes)));
  if (options.csv) {
    std::vector<Row> rows;
    for (const TreeNode& node : nodes) rows.push_back(*node.component);
    return page(options, listing_text(options, ClassId::kComponent, rows));
  }
  if (nodes.empty()) {
    print("None.\n");
    return;
  }

  Table table;
  const Columns shown = columns<Component, "Name", "CompID", "Priority", "MaintenanceType",
                                "ReportCode", "SecurityGroup", "ServerName">();
  using enum Table::Column;
  constexpr std::array kColumns{kTree,     kNumber,   kNumber,  kMayBeCut,
                                kMayBeCut, kMayBeCut, kMayBeCut};
  for (std::size_t i = 0; i < shown.size(); ++i) table.add_column(shown[i]->name(), kColumns.at(i));
  std::vector<std::size_t> lines;  // of the present node's ancestors
  for (const TreeNode& node : nodes) {
    const auto line = cells(*node.component, shown);
    lines.resize(node.depth);
    lines.push_back(lines.empty() ? table.add_line(line) : table.add_line(line, lines.back()));
  }
  page(options, table.text());
}

}  // namespace tarnwick::cli
