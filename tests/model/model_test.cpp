#include "tests/model/expectation.h"

namespace tarnwick::model {
namespace {

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

// A connection that is found cut where its row is given back: programs are told, and that comes
// first in a deletion.
TEST(KeptSequences, GivingBackTellsThatTheConnectionIsCut) {
  expect_the_same({
      {Op::kNewServer, 0},
      {Op::kConnect, 0},
      {Op::kInsertRow, 0, 0, kPcs, 2},
      {Op::kAdd, 0, 2, kPcs, 2},
      {Op::kLock, 0, 2},
      {Op::kCutConnection, 0},
      {Op::kDelete, 0, 2},
      {Op::kConnect, 0},
      {Op::kLock, 0, 2},
      {Op::kCutConnection, 0},
      {Op::kRelease, 0, 2},
  });
}

// What a write that failed had assigned is written with what the next one assigns: here the file.
TEST(KeptSequences, AnUpdateThatFailedLeavesItsEditToTheNextOne) {
  expect_the_same({
      {Op::kNewServer, 0},
      {Op::kConnect, 0},
      {Op::kInsertRow, 0, 0, kReports, 2},
      {Op::kAdd, 0, 2, kReports, 6},
      {Op::kUpdate, 0, 2},
      {Op::kAdd, 0, 0, kReports, 2},
      {Op::kLock, 0, 0},
      {Op::kLet, 0, 0, 0, 0, 2},
      {Op::kUpdate, 0, 0, 0, 1},
      {Op::kDelete, 0, 2},
      {Op::kUpdate, 0, 0},
  });
}

// A lock outlives its row where another program does not care for it.
TEST(KeptSequences, NobodyInsertsARowWhoseKeyIsHeld) {
  expect_the_same({
      {Op::kNewServer, 0},
      {Op::kConnect, 0},
      {Op::kNewServer, 1},
      {Op::kConnect, 1},
      {Op::kAdd, 0, 1, kPcs, 3},
      {Op::kUpdate, 0, 1},
      {Op::kLock, 0, 1},
      {Op::kDeleteRow, 0, 0, kPcs, 3},
      {Op::kAdd, 1, 2, kPcs, 3},
      {Op::kUpdate, 1, 2},
  });
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
