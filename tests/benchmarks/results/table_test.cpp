#include "benchmarks/results/table.h"

#include <gtest/gtest.h>

namespace tarnwick::benchmarks {
namespace {

TEST(Table, ShowsRatiosBarsAndVerdict) {
  EXPECT_EQ(table_of({{.job = "load",
                       .time = 1.234,
                       .time_bar = 1.25,
                       .cpu = 1.1,
                       .memory = 1.4,
                       .memory_bar = 1.5,
                       .spread = 0.024},
                      {.job = "look up", .time = 2, .time_bar = 1.25},
                      {.job = "call", .time = 1, .time_bar = 1.1, .spread = 0.31},
                      {.job = "walk", .time = 9}}),
            "job      time   CPU  memory          bar  noise           verdict\n"
            "load     1.23  1.10    1.40  1.25 / 1.50    2 %              kept\n"
            "look up  2.00     -       -         1.25      -              OVER\n"
            "call     1.00     -       -         1.10   31 %  too noisy to say\n"
            "walk     9.00     -       -            -      -                 -\n");
}

std::string last_line(const std::string& table) {
  return table.substr(table.rfind('\n', table.size() - 2) + 1);
}

TEST(Table, ShowsWhatHasChangedSinceAnEarlierMeasurement) {
  EXPECT_EQ(table_of({{.job = "load", .time = 1.5, .cpu = 1, .memory = 3, .spread = 0.01}},
                     {{.job = "load", .time = 3, .cpu = 0.8, .memory = 2, .spread = 0.02}}),
            "job   time   CPU  memory  bar  noise  verdict  time since  CPU since  memory since\n"
            "load  1.50  1.00    3.00    -    1 %        -       -50 %      +25 %         +50 %\n");
}

TEST(Table, ShowsNoChangeOfTimeWithinTheNoiseOfEitherMeasurement) {
  const Row quiet{.job = "load", .time = 1.2, .cpu = 1.2, .memory = 1.2};
  Row noisy{.job = "load", .time = 1, .cpu = 1, .memory = 1, .spread = 0.3};
  EXPECT_EQ(last_line(table_of({quiet}, {noisy})),
            "load  1.20  1.20    1.20    -      -        -           =          =         +20 %\n");
  EXPECT_EQ(last_line(table_of({noisy}, {quiet})),
            "load  1.00  1.00    1.00    -   30 %        -           =          =         -17 %\n");
}

TEST(Table, SaysWhichJobsTheEarlierMeasurementDidNotHave) {
  EXPECT_EQ(last_line(table_of({{.job = "walk", .time = 1}}, {{.job = "load", .time = 1}})),
            "walk  1.00    -       -    -      -        -         new        new           new\n");
}

}  // namespace
}  // namespace tarnwick::benchmarks
