#include <gtest/gtest.h>

#include "tests/interleavings/order.h"

namespace tarnwick::interleavings {
namespace {

std::string told(const Scenario& scenario, const Search& search) {
  std::string text;
  if (!search.found) return text;
  text.append("in ").append(scenario.name).append(" ").append(search.at).append(": ");
  text.append(search.found->broken.value_or("")).append("\n");
  for (const auto& line : search.found->account) text.append("  ").append(line).append("\n");
  return text;
}

class EveryOrder : public testing::TestWithParam<Scenario> {
 protected:
  Playground playground_;
};

TEST_P(EveryOrder, KeepsWhatTheEnginePromises) {
  const Search tried = search(playground_, GetParam(), 1);
  EXPECT_FALSE(tried.found) << told(GetParam(), tried);
  std::printf("orders: %zu, longest: %zu\n", tried.orders, tried.longest);
}

INSTANTIATE_TEST_SUITE_P(, EveryOrder, testing::ValuesIn(all_scenarios()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace tarnwick::interleavings
