#include "benchmarks/results/row.h"

#include <gtest/gtest.h>

namespace tarnwick::benchmarks {
namespace {

TEST(Row, SetsTheMediansOfBothSidesAgainstEachOther) {
  const Row row = row_of({.job = "load",
                          .ours = {{3, 1, 300}, {2, 6, 200}, {50, 3, 200}},
                          .floor = {{2, 1, 100}, {2, 1, 100}, {9, 8, 100}},
                          .time_bar = 1.25,
                          .memory_bar = 1.5});
  EXPECT_EQ(row.job, "load");
  EXPECT_DOUBLE_EQ(row.time, 1.5);
  EXPECT_DOUBLE_EQ(row.cpu, 3);
  EXPECT_DOUBLE_EQ(row.memory, 2);
  EXPECT_DOUBLE_EQ(row.time_bar, 1.25);
  EXPECT_DOUBLE_EQ(row.memory_bar, 1.5);
}

TEST(Row, TakesItsNoiseFromTheFloorAlone) {
  const Row row =
      row_of({.job = "load", .ours = {{1}, {5}, {9}}, .floor = {{8}, {9}, {10}, {11}, {12}}});
  EXPECT_DOUBLE_EQ(row.spread, 0.2);
}

TEST(Row, WhatWasNotMeasuredStaysZero) {
  const Row row = row_of({.job = "call", .ours = {{.seconds = 2}}, .floor = {{.seconds = 1}}});
  EXPECT_DOUBLE_EQ(row.time, 2);
  EXPECT_DOUBLE_EQ(row.cpu, 0);
  EXPECT_DOUBLE_EQ(row.memory, 0);
}

TEST(Verdict, IsKeptUpToTheBar) {
  EXPECT_EQ(verdict_of(Row{.time = 1.25, .time_bar = 1.25}), Verdict::kKept);
  EXPECT_EQ(verdict_of(Row{.time = 1.26, .time_bar = 1.25}), Verdict::kOver);
}

TEST(Verdict, IsNoneWithoutABar) {
  EXPECT_EQ(verdict_of(Row{.time = 90, .memory = 90, .spread = 9}), Verdict::kUnjudged);
}

TEST(Verdict, OfANoisyMachineIsNoPassAndNoFailure) {
  EXPECT_EQ(verdict_of(Row{.time = 1.2, .time_bar = 1.25, .spread = 0.11}), Verdict::kTooNoisy);
  EXPECT_EQ(verdict_of(Row{.time = 1.3, .time_bar = 1.25, .spread = 0.11}), Verdict::kTooNoisy);
  EXPECT_EQ(verdict_of(Row{.time = 1.2, .time_bar = 1.25, .spread = kNoisy}), Verdict::kKept);
  EXPECT_EQ(verdict_of(Row{.time = 1.3, .time_bar = 1.25, .spread = kNoisy}), Verdict::kOver);
}

TEST(Verdict, IsGivenInSpiteOfNoiseWhereTheBarIsFurtherAwayThanThat) {
  EXPECT_EQ(verdict_of(Row{.time = 0.8, .time_bar = 1.25, .spread = 0.5}), Verdict::kKept);
  EXPECT_EQ(verdict_of(Row{.time = 0.9, .time_bar = 1.25, .spread = 0.5}), Verdict::kTooNoisy);
  EXPECT_EQ(verdict_of(Row{.time = 1.8, .time_bar = 1.25, .spread = 0.5}), Verdict::kTooNoisy);
  EXPECT_EQ(verdict_of(Row{.time = 1.9, .time_bar = 1.25, .spread = 0.5}), Verdict::kOver);
}

TEST(Verdict, OnMemoryDoesNotMindNoise) {
  Row row{.time = 1, .time_bar = 1.25, .memory = 1.6, .memory_bar = 1.5, .spread = 0.5};
  EXPECT_EQ(verdict_of(row), Verdict::kOver);
  row.time_bar = 0;
  row.memory = 1.5;
  EXPECT_EQ(verdict_of(row), Verdict::kKept);
}

TEST(Verdict, OfAllRowsIsThatOfTheWorst) {
  const Row kept{.time = 1, .time_bar = 1.25};
  const Row noisy{.time = 1, .time_bar = 1.25, .spread = 1};
  const Row over{.time = 2, .time_bar = 1.25};
  const Row unjudged{.time = 2};
  EXPECT_EQ(verdict_of({kept, unjudged}), Verdict::kKept);
  EXPECT_EQ(verdict_of({kept, noisy, unjudged}), Verdict::kTooNoisy);
  EXPECT_EQ(verdict_of({noisy, over, kept}), Verdict::kOver);
}

}  // namespace
}  // namespace tarnwick::benchmarks
