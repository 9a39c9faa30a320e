#include "apps/tarnwick/component_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <tuple>

#include "apps/tarnwick/table.h"
#include "apps/tarnwick/telling.h"

namespace tarnwick::cli {
namespace {

using Siblings = std::vector<const ComponentRow*>;

// The last one first: they are taken from the end.
void sort_backwards(Siblings& siblings) {
  std::ranges::sort(siblings, [](const ComponentRow* a, const ComponentRow* b) {
    return std::tie(a->priority, a->comp_id) > std::tie(b->priority, b->comp_id);
  });
}

class Walk {
 public:
  explicit Walk(const std::vector<ComponentRow>& components) {
    for (const ComponentRow& row : components) by_id_.emplace(row.comp_id, &row);
    for (const ComponentRow& row : components) {
      const bool top = row.parent_id == 0 || !by_id_.contains(row.parent_id);
      (top ? tops_ : children_[row.parent_id]).push_back(&row);
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
  [[nodiscard]] const ComponentRow* ring_above(std::int16_t id) const {
    std::set<std::int16_t> climbed;
    while (climbed.insert(id).second) id = by_id_.at(id)->parent_id;
    return by_id_.at(id);
  }

  void visit_all(const Siblings& tops) {
    std::vector<TreeNode> waiting;
    for (const ComponentRow* top : tops) waiting.push_back({top, 0});
    while (!waiting.empty()) {
      const TreeNode node = waiting.back();
      waiting.pop_back();
      if (!visited_.insert(node.component->comp_id).second) continue;
      nodes_.push_back(node);
      const auto children = children_.extract(node.component->comp_id);
      if (children.empty()) continue;
      for (const ComponentRow* child : children.mapped()) {
        waiting.push_back({child, node.depth + 1});
      }
    }
  }

  std::map<std::int16_t, const ComponentRow*> by_id_;
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
    nlohmann::ordered_json json = row_to_json(*node.component);
    json["Children"] = nlohmann::ordered_json::array();
    levels.back()->push_back(std::move(json));
    levels.push_back(&levels.back()->back()["Children"]);
  }
  return tops;
}

}  // namespace

std::vector<TreeNode> in_tree_order(const std::vector<ComponentRow>& components) {
  return Walk(components).nodes();
}

void print_tree(const Options& options, const std::vector<ComponentRow>& components) {
  const std::vector<TreeNode> nodes = in_tree_order(components);
  if (options.json) return print_json(to_nested_json(nodes));
  if (nodes.empty()) {
    fmt::print("None.\n");
    return;
  }

  Table table;
  table.add_tree_column("Name");
  table.add_column("CompID", Table::Align::kRight);
  table.add_column("Priority", Table::Align::kRight);
  for (const std::string_view name :
       {"MaintenanceType", "ReportCode", "SecurityGroup", "ServerName"}) {
    table.add_column(name, Table::Align::kLeft, true);
  }
  std::vector<std::size_t> lines;  // of the present node's ancestors
  for (const TreeNode& node : nodes) {
    const ComponentRow& row = *node.component;
    const std::vector<std::string> cells{display(row.name),        display(row.comp_id),
                                         display(row.priority),    display(row.maintenance_type),
                                         display(row.report_code), display(row.security_group),
                                         display(row.server_name)};
    lines.resize(node.depth);
    lines.push_back(node.depth == 0 ? table.add_line(cells) : table.add_line(cells, lines.back()));
  }
  table.print();
}

}  // namespace tarnwick::cli
