#include "benchmarks/results/statistics.h"

#include <gtest/gtest.h>

namespace tarnwick::benchmarks {
namespace {

TEST(Statistics, MedianIsTheMiddleValueInWhateverOrderTheyCame) {
  EXPECT_DOUBLE_EQ(median({5, 1, 100}), 5);
}

TEST(Statistics, MedianOfAnEvenNumberLiesBetweenTheMiddleTwo) {
  EXPECT_DOUBLE_EQ(median({4, 1, 2, 100}), 3);
}

TEST(Statistics, QuantileIsInterpolated) {
  EXPECT_DOUBLE_EQ(quantile({0, 10, 20, 30}, 0.25), 7.5);
  EXPECT_DOUBLE_EQ(quantile({0, 10, 20, 30}, 0), 0);
  EXPECT_DOUBLE_EQ(quantile({0, 10, 20, 30}, 1), 30);
  EXPECT_DOUBLE_EQ(quantile({7}, 0.99), 7);
}

TEST(Statistics, SpreadIsTheDistanceOfTheQuartilesOverTheMedian) {
  EXPECT_DOUBLE_EQ(spread({8, 9, 10, 11, 12}), 0.2);
  EXPECT_DOUBLE_EQ(spread({10, 10, 10}), 0);
}

TEST(Statistics, OneOutlierDoesNotSpreadTheRest) {
  EXPECT_DOUBLE_EQ(spread({10, 10, 10, 10, 1000}), 0);
}

TEST(Statistics, OfNoValuesIsZero) {
  EXPECT_DOUBLE_EQ(median({}), 0);
  EXPECT_DOUBLE_EQ(spread({}), 0);
}

}  // namespace
}  // namespace tarnwick::benchmarks
