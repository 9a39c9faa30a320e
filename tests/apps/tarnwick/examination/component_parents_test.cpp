#include "apps/tarnwick/examination/component_parents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwick::cli {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The findings as lines.
std::vector<std::string> told(const std::map<std::int16_t, std::int16_t>& parents) {
  std::vector<std::string> lines;
  for (const Finding& finding : examine_parents(parents)) {
    lines.push_back(finding.kind + ": " + finding.record + ": " + finding.what + "; " +
                    finding.command);
  }
  return lines;
}

TEST(ComponentParents, ThatLeadToTheTopAreInOrder) {
  EXPECT_THAT(told({}), IsEmpty());
  EXPECT_THAT(told({{1, 0}, {2, 1}, {3, 2}, {4, 1}}), IsEmpty());
  EXPECT_THAT(told({{0, 0}, {1, 0}}), IsEmpty());
}

TEST(ComponentParents, ThatAreMissingAreToldOfEachComponent) {
  EXPECT_THAT(told({{2, 9}, {3, 9}, {4, 3}}),
              ElementsAre("ParentMissing: Component 2: its parent 9 does not exist; tarnwick "
                          "component set 2 --parent 0",
                          "ParentMissing: Component 3: its parent 9 does not exist; tarnwick "
                          "component set 3 --parent 0"));
}

TEST(ComponentParents, MayNotBeTheComponentItself) {
  EXPECT_THAT(told({{5, 5}}),
              ElementsAre("Circle: Component 5: it is its own parent; tarnwick component set 5 "
                          "--parent 0"));
}

TEST(ComponentParents, ThatStandInACircleAreToldOnceUnderTheLowest) {
  const std::string circle =
      "Circle: Component 3: it stands in a circle: 3 is below 8, that below 5, and that below 3 "
      "again; tarnwick component set 3 --parent 0";
  EXPECT_THAT(told({{3, 8}, {5, 3}, {8, 5}}), ElementsAre(circle));
  // Who hangs on it does not stand in it.
  EXPECT_THAT(told({{1, 8}, {2, 1}, {3, 8}, {5, 3}, {8, 5}, {9, 0}}), ElementsAre(circle));
}

TEST(ComponentParents, MayStandInSeveralCircles) {
  EXPECT_THAT(told({{1, 2}, {2, 1}, {3, 4}, {4, 3}}),
              ElementsAre("Circle: Component 1: it stands in a circle: 1 is below 2, and that "
                          "below 1 again; tarnwick component set 1 --parent 0",
                          "Circle: Component 3: it stands in a circle: 3 is below 4, and that "
                          "below 3 again; tarnwick component set 3 --parent 0"));
}

TEST(ComponentParents, OfAComponentThatNoCommandNamesAreToldWithoutOne) {
  EXPECT_THAT(told({{-2, 7}}),
              ElementsAre("ParentMissing: Component -2: its parent 7 does not exist; "));
}

}  // namespace
}  // namespace tarnwick::cli
