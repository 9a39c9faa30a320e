#include <gtest/gtest.h>

#include "tests/model/player.h"

namespace tarnwick::model {
namespace {

void expect_the_same(const Steps& steps) {
  const auto found = play(steps, &make_process_in_here);
  EXPECT_FALSE(found) << as_test(shrunk(steps, &make_process_in_here), &make_process_in_here);
}

constexpr std::uint32_t kSequences = 40;
constexpr std::size_t kLength = 60;

TEST(MadeUpSequences, DoWhatTheReferenceModelDoes) {
  for (std::uint32_t seed = 1; seed <= kSequences && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expect_the_same(made_up_steps(seed, kLength));
  }
}

TEST(MadeUpSequences, AreTheSameForTheSameSeed) {
  EXPECT_EQ(made_up_steps(7, kLength), made_up_steps(7, kLength));
  EXPECT_NE(made_up_steps(7, kLength), made_up_steps(8, kLength));
}

}  // namespace
}  // namespace tarnwick::model
