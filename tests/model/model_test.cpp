#include <gtest/gtest.h>

#include "tests/model/player.h"

namespace tarnwick::model {
namespace {

void expect_the_same(const Steps& steps, MakeProcess make = &make_process_in_here) {
  const auto found = play(steps, make);
  EXPECT_FALSE(found) << as_test(shrunk(steps, make), make);
}

// What the model has found, in its shortest form.

TEST(KeptSequences, ADeletionThatFoundNothingTouchesNoRowThatComesLater) {
  expect_the_same({
      {Op::kNewServer, 0, 0, 0, 0, 0},
      {Op::kConnect, 0, 0, 0, 0, 0},
      {Op::kNewServer, 1, 0, 0, 0, 0},
      {Op::kConnect, 1, 0, 0, 0, 0},
      {Op::kInsertRow, 0, 0, 0, 0, 0},
      {Op::kInsertRow, 0, 0, 1, 3, 0},
      {Op::kReload, 1, 0, 0, 0, 0},
      {Op::kReloadCollection, 0, 0, 1, 0, 0},
      {Op::kItemByKey, 1, 0, 1, 3, 0},
      {Op::kItemByKey, 1, 1, 0, 0, 0},
      {Op::kDelete, 1, 0, 0, 0, 0},
      {Op::kLock, 1, 1, 0, 0, 0},
      {Op::kDelete, 1, 0, 0, 0, 0},
      {Op::kItemByKey, 0, 0, 1, 3, 0},
      {Op::kUpdate, 0, 0, 0, 0, 0},
      {Op::kPcsOf, 1, 1, 0, 0, 0},
      {Op::kUpdate, 1, 1, 0, 0, 0},
  });
}

TEST(KeptSequences, AVersionOfARolledBackTransactionIsNoLaterOnes) {
  expect_the_same({
      {Op::kNewServer, 1, 0, 0, 0, 0},
      {Op::kConnect, 1, 0, 0, 0, 0},
      {Op::kAdd, 1, 1, 0, 2, 0},
      {Op::kInsert, 1, 1, 0, 0, 0},
      {Op::kLock, 1, 1, 0, 0, 0},
      {Op::kItemByKey, 1, 0, 0, 2, 0},
      {Op::kLook, 1, 0, 0, 0, 0},
      {Op::kDelete, 1, 0, 0, 0, 0},
      {Op::kUpdate, 1, 0, 0, 0, 0},
      {Op::kUpdate, 1, 0, 0, 0, 0},
  });
}

TEST(KeptSequences, AReportThatWasWrittenIsLookedUpAnew) {
  expect_the_same({
      {Op::kInsertRow, 0, 0, 2, 7, 0},
      {Op::kNewServer, 0, 0, 0, 0, 0},
      {Op::kConnect, 0, 0, 0, 0, 0},
      {Op::kAdd, 0, 0, 2, 6, 0},
      {Op::kExtractReport, 0, 0, 0, 1, 0},
      {Op::kDeleteRow, 0, 0, 2, 7, 0},
      {Op::kUpdate, 0, 0, 0, 0, 0},
      {Op::kExtractReport, 0, 0, 0, 1, 0},
  });
}

TEST(KeptSequences, ANameInOtherLettersIsTaken) {
  expect_the_same({
      {Op::kNewServer, 0, 0, 0, 0, 0},
      {Op::kConnect, 0, 0, 0, 0, 0},
      {Op::kInsertRow, 0, 0, 2, 0, 0},
      {Op::kInsertRow, 0, 0, 2, 6, 0},
      {Op::kReload, 0, 0, 0, 0, 0},
      {Op::kItemByKey, 0, 2, 2, 0, 0},
      {Op::kLock, 0, 2, 0, 0, 0},
      {Op::kLet, 0, 2, 0, 0, 2},
      {Op::kUpdate, 0, 2, 0, 0, 0},
  });
}

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
                  &make_process_on_a_bus);
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
                  &make_process_on_a_bus);
}

TEST(KilledProcesses, GiveWayToWhoIsAskedWhetherToRetry) {
  constexpr int kKillTheHolder = 3;
  expect_the_same(behind_these({
                      {Op::kLock, 0, 0},
                      {Op::kLock, 1, 0, 0, 0, kKillTheHolder},
                      {Op::kLet, 1, 0, 0, 7, 1},
                      {Op::kUpdate, 1, 0},
                  }),
                  &make_process_on_a_bus);
}

TEST(MadeUpSequences, DoWhatTheReferenceModelDoesOnServicesThatAreKilled) {
  for (std::uint32_t seed = 1; seed <= 8 && !HasFailure(); ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    expect_the_same(made_up_steps(seed, 60), &make_process_on_a_bus);
  }
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
