#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "tests/interleavings/order.h"

namespace tarnwick::interleavings {
namespace {

// To make a process takes ten times as long with the sanitizers, which look for mistakes of another
// kind.
#ifdef TARNWICK_SANITIZED
constexpr std::size_t kDeviations = 0;
#else
constexpr std::size_t kDeviations = 1;
#endif

const Scenario& scenario_of_name(std::string_view name) {
  return *std::find_if(all_scenarios().begin(), all_scenarios().end(),
                       [&](const Scenario& each) { return each.name == name; });
}

class EveryOrder : public testing::TestWithParam<Scenario> {};

TEST_P(EveryOrder, KeepsWhatTheEnginePromises) {
  Playground playground;
  const Search tried = search(playground, GetParam(), kDeviations);
  EXPECT_TRUE(tried.complete);
  if (tried.found) ADD_FAILURE() << account_of(GetParam(), tried.at, *tried.found);
}

INSTANTIATE_TEST_SUITE_P(, EveryOrder, testing::ValuesIn(all_scenarios()),
                         [](const auto& test) { return std::string(test.param.name); });

/// A defect, and what it breaks.
struct Planted {
  friend void PrintTo(const Planted& planted, std::ostream* out) { *out << planted.name; }

  Defect defect;
  std::string_view name;
  std::string_view scenario;
  std::string_view breaks;
};

class ADefect : public testing::TestWithParam<Planted> {};

TEST_P(ADefect, IsFound) {
  Playground playground;
  const Scenario& scenario = scenario_of_name(GetParam().scenario);
  const Search tried = search(playground, scenario, 1, GetParam().defect);
  ASSERT_TRUE(tried.found) << tried.orders << " orders";
  EXPECT_NE(tried.found->broken->find(GetParam().breaks), std::string::npos)
      << *tried.found->broken;
  // And the order that is told of is the one that it takes.
  Choices again(1, tried.at);
  EXPECT_EQ(playground.play(scenario, again, GetParam().defect).broken, tried.found->broken);
  RecordProperty("orders", static_cast<int>(tried.orders));
}

INSTANTIATE_TEST_SUITE_P(
    , ADefect,
    testing::Values(Planted{Defect::kRowLockTakesNothing, "RowLockTakesNothing",
                            "OneRowHeldOutsideATransaction", "held by process"},
                    Planted{Defect::kRowStaysLocked, "RowStaysLocked", "OneRow", "everybody waits"},
                    Planted{Defect::kRowUnlockedTooEarly, "RowUnlockedTooEarly", "OneRow",
                            "failed"},
                    Planted{Defect::kRecordLockTakesNothing, "RecordLockTakesNothing",
                            "ListsWhoHolds", "the list says"},
                    Planted{Defect::kFileLockTakesNothing, "FileLockTakesNothing",
                            "StatementsOutsideTransactions", ""}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace tarnwick::interleavings
