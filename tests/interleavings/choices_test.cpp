#include "tests/interleavings/choices.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwick::interleavings {
namespace {

using ::testing::ElementsAre;

/// Three choices of two options each, but of three where the first one was taken: the sequences
/// that come of it.
std::vector<std::string> sequences(Choices choices) {
  std::vector<std::string> found;
  do {
    std::string taken;
    taken += static_cast<char>('0' + choices.choose(2));
    taken += static_cast<char>('0' + choices.choose(taken == "1" ? 3 : 2));
    taken += static_cast<char>('0' + choices.choose(2));
    found.push_back(taken + ' ' + choices.text());
  } while (choices.next());
  return found;
}

TEST(Choices, AreAllTriedWithinTheirDeviations) {
  EXPECT_THAT(sequences(Choices(0)), ElementsAre("000 "));
  EXPECT_THAT(sequences(Choices(1)), ElementsAre("000 ", "001 2:1", "010 1:1", "100 0:1"));
  EXPECT_THAT(sequences(Choices(2)),
              ElementsAre("000 ", "001 2:1", "010 1:1", "011 1:1,2:1", "100 0:1", "101 0:1,2:1",
                          "110 0:1,1:1", "120 0:1,1:2"));
  EXPECT_EQ(sequences(Choices(3)).size(), 10u);
}

TEST(Choices, GoOnFromAnySequence) {
  EXPECT_THAT(sequences(Choices(2, "0:1")),
              ElementsAre("100 0:1", "101 0:1,2:1", "110 0:1,1:1", "120 0:1,1:2"));
  EXPECT_THAT(sequences(Choices(2, "0:1,1:1")), ElementsAre("110 0:1,1:1", "120 0:1,1:2"));
}

TEST(Choices, SayWhenARunTookAnotherWay) {
  Choices choices(1);
  EXPECT_EQ(choices.choose(2), 0u);
  EXPECT_EQ(choices.choose(2), 0u);
  ASSERT_TRUE(choices.next());
  EXPECT_EQ(choices.choose(3), 0u);
  EXPECT_TRUE(choices.diverged());
}

TEST(Choices, RefuseWhatIsNoSequence) {
  EXPECT_THROW(Choices(1, "here"), std::invalid_argument);
  EXPECT_THROW(Choices(1, "3:1,2:1"), std::invalid_argument);
}

}  // namespace
}  // namespace tarnwick::interleavings
