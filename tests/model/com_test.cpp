#include "tests/model/expectation.h"

namespace tarnwick::model {
namespace {

TEST(MadeUpSequences, DoWhatTheReferenceModelDoesOverCom) {
  for (std::uint32_t seed = 1; seed <= 5 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expect_the_same(made_up_steps(seed, 60), kOverCom);
  }
}

}  // namespace
}  // namespace tarnwick::model
