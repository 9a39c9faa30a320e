#include "tests/model/expectation.h"

namespace tarnwick::model {
namespace {

// Services that are killed while they hold rows, and others that come in their place.

const Steps kTwoWhoKnowThreeRows{
    {Op::kNewServer, 0},
    {Op::kConnect, 0},
    {Op::kNewServer, 1},
    {Op::kConnect, 1},
    {Op::kInsertRow, 0, 0, kPcs, 0},
    {Op::kInsertRow, 0, 0, kPcs, 2},
    {Op::kInsertRow, 0, 0, kReports, 0},
    {Op::kReload, 0},
    {Op::kReload, 1},
    {Op::kItemByKey, 0, 0, kPcs, 0},
    {Op::kItemByKey, 0, 1, kPcs, 2},
    {Op::kItemByKey, 1, 0, kPcs, 0},
    {Op::kItemByKey, 1, 1, kPcs, 2},
};

Steps behind_these(const Steps& steps) {
  Steps all = kTwoWhoKnowThreeRows;
  all.insert(all.end(), steps.begin(), steps.end());
  return all;
}

TEST(KilledProcesses, LeaveNothingOfATransactionAndFreeRows) {
  expect_the_same(behind_these({
                      {Op::kLock, 0, 0},
                      {Op::kLet, 0, 0, 0, 7, 2},
                      {Op::kDelete, 0, 1},
                      {Op::kLook, 1, 0},
                      {Op::kLook, 1, 1},
                      {Op::kKillProcess, 0},
                      {Op::kLook, 1, 0},
                      {Op::kLook, 1, 1},
                      {Op::kReload, 1},
                      {Op::kLock, 1, 0},
                      {Op::kUpdate, 1, 0},
                      {Op::kNewServer, 0},
                      {Op::kConnect, 0},
                      {Op::kReload, 0},
                      {Op::kList, 0, 0, kPcs},
                      {Op::kItemByKey, 0, 0, kPcs, 0},
                      {Op::kLock, 0, 0},
                      {Op::kUpdate, 0, 0},
                  }),
                  kOnBuses);
}

TEST(KilledProcesses, LeaveWhatTheyHaveCommitted) {
  expect_the_same(behind_these({
                      {Op::kLet, 0, 0, 0, 7, 2},
                      {Op::kUpdate, 0, 0},
                      {Op::kDelete, 0, 1},
                      {Op::kAdd, 0, 2, kReports, 2, 1},
                      {Op::kUpdate, 0, 2},
                      {Op::kLock, 0, 0},
                      {Op::kKillProcess, 0},
                      {Op::kReload, 1},
                      {Op::kList, 1, 0, kPcs},
                      {Op::kList, 1, 0, kReports},
                  }),
                  kOnBuses);
}

TEST(KilledProcesses, GiveWayToWhoIsAskedWhetherToRetry) {
  constexpr int kKillTheHolder = 3;
  expect_the_same(behind_these({
                      {Op::kLock, 0, 0},
                      {Op::kLock, 1, 0, 0, 0, kKillTheHolder},
                      {Op::kLet, 1, 0, 0, 7, 1},
                      {Op::kUpdate, 1, 0},
                  }),
                  kOnBuses);
}

TEST(MadeUpSequences, DoWhatTheReferenceModelDoesOnServicesThatAreKilled) {
  for (std::uint32_t seed = 1; seed <= 8 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expect_the_same(made_up_steps(seed, 60), kOnBuses);
  }
}

TEST(MadeUpSequences, DoWhatTheReferenceModelDoesOnSqlServer) {
  for (std::uint32_t seed = 1; seed <= 6 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expect_the_same(made_up_steps(seed, 60), kOnSqlServer);
  }
}

// A report is found by its name in other letters, of any alphabet, and its lock is one for all of
// its names.
TEST(KeptSequences, ANameBeyondAsciiIsTheSameInOtherLettersOnSqlServer) {
  expect_the_same(
      {
          {Op::kNewServer, 0},
          {Op::kConnect, 0},
          {Op::kNewServer, 1},
          {Op::kConnect, 1},
          {Op::kInsertRow, 0, 0, kReports, 6},
          {Op::kAdd, 0, 0, kReports, 7, 1},
          {Op::kAdd, 1, 0, kReports, 6, 2},
          {Op::kLock, 0, 0},
          {Op::kLook, 1, 0},
          {Op::kLock, 1, 0},
          {Op::kRelease, 0, 0},
          {Op::kDelete, 1, 0},
      },
      kOnSqlServer);
}

}  // namespace
}  // namespace tarnwick::model
