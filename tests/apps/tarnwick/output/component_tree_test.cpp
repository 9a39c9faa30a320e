#include "apps/tarnwick/output/component_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

struct Entry {
  std::int16_t id;
  std::int16_t parent;
  std::int16_t priority = 0;
};

/// Ids and depths in tree order.
std::vector<std::pair<std::int16_t, std::size_t>> order(const std::vector<Entry>& entries) {
  std::vector<Row> rows;
  for (const Entry& entry : entries) {
    Row& row = rows.emplace_back(Row::of<Component>());
    row.set<Component, "CompID">(entry.id);
    row.set<Component, "ParentID">(entry.parent);
    row.set<Component, "Priority">(entry.priority);
  }
  std::vector<std::pair<std::int16_t, std::size_t>> result;
  for (const TreeNode& node : in_tree_order(rows)) {
    result.emplace_back(node.component->get<Component, "CompID">(), node.depth);
  }
  return result;
}

TEST(TreeOrder, OfNothingIsNothing) { EXPECT_THAT(order({}), IsEmpty()); }

TEST(TreeOrder, PutsChildrenBehindTheirParentByPriorityAndThenById) {
  EXPECT_THAT(order({{1, 0, 9}, {2, 0, 5}, {3, 1, 2}, {4, 1, 1}, {5, 1, 1}, {6, 4}}),
              ElementsAre(Pair(2, 0), Pair(1, 0), Pair(4, 1), Pair(6, 2), Pair(5, 1), Pair(3, 1)));
}

TEST(TreeOrder, PutsComponentsWithoutTheirParentAtTheTop) {
  EXPECT_THAT(order({{1, 0, 1}, {2, 77, 0}, {3, 2, 0}}),
              ElementsAre(Pair(2, 0), Pair(3, 1), Pair(1, 0)));
}

TEST(TreeOrder, ShowsAComponentThatIsItsOwnParentOnce) {
  EXPECT_THAT(order({{1, 0}, {2, 2}}), ElementsAre(Pair(1, 0), Pair(2, 0)));
}

TEST(TreeOrder, BreaksARingAtOneOfItsMembersAndHangsTheRestBelow) {
  // 8 and 9 are each other's parents; 3, 4 and 5 hang on them.
  EXPECT_THAT(order({{8, 9}, {9, 8}, {3, 8}, {4, 3}, {5, 3}}),
              ElementsAre(Pair(8, 0), Pair(3, 1), Pair(4, 2), Pair(5, 2), Pair(9, 1)));
}

TEST(TreeOrder, KnowsAComponentWithTheIdZeroAsOneAtTheTop) {
  EXPECT_THAT(order({{0, 0}, {1, 0}}), ElementsAre(Pair(0, 0), Pair(1, 0)));
}

}  // namespace
}  // namespace tarnwick::cli
