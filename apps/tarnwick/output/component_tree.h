#pragma once

#include <vector>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// A component in the tree.
struct TreeNode {
  const Row* component = nullptr;
  std::size_t depth = 0;  // 0 at the top
};

/// All components, each right behind its parent, siblings by priority and then by id. Components
/// whose parent is not there stand at the top, and so does one of every ring of components that are
/// each other's ancestors. `components` must outlive the result.
[[nodiscard]] std::vector<TreeNode> in_tree_order(const std::vector<Row>& components);

/// The tree on standard output; for --json with the member "Children" in every component.
void print_tree(const Options& options, const std::vector<Row>& components);

}  // namespace tarnwick::cli
