#include "tests/automation/com/variant_player.h"

#include "tests/automation/com/connected_client.h"
#include "tests/automation/com/serving_process.h"

namespace tarnwick::test_support {
namespace {

// Always the same; ./prove goes on from seed to seed.
TEST(MadeUpVariants, AreAnsweredByObjectsOfThisProcess) {
  const ComThread com;
  for (std::uint32_t seed = 1; seed <= 10; ++seed) {
    EXPECT_EQ(play_variants(seed, 300), "") << "seed " << seed;
  }
}

TEST(MadeUpVariants, AreAnsweredByTheServer) {
  const ComThread com;
  const LateBound held = LateBound::create(L"Tarnwick.Report");
  const ServingProcess process;
  for (std::uint32_t seed = 1; seed <= 2; ++seed) {
    EXPECT_EQ(play_variants_across(seed, 300), "") << "seed " << seed;
  }
  EXPECT_TRUE(process.runs());
  EXPECT_EQ(held.call(L"Title").text(), u"");
}

}  // namespace
}  // namespace tarnwick::test_support
