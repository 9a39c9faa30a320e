#include "tests/interleavings/ledger.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tarnwick::interleavings {
namespace {

using Outcome = Answer::Outcome;

/// What two processes are told, the first one with the first script.
class TwoProcesses : public testing::Test {
 protected:
  void play(std::string_view first, std::string_view second) {
    scripts_ = {parse_script(first), parse_script(second)};
    ledger_.emplace(scripts_);
    ledger_->set_process_id(0, 100);
    ledger_->set_process_id(1, 101);
  }
  void begins(std::size_t process) { ledger_->begins(process, next_.at(process)); }
  void told(std::size_t process, const Answer& answer = {}) {
    ledger_->told(process, answer);
    ++next_.at(process);
  }
  void does(std::size_t process, const Answer& answer = {}) {
    begins(process);
    told(process, answer);
  }
  void does(std::size_t process, const std::string& text) { does(process, {Outcome::kDone, text}); }

  std::vector<Script> scripts_;
  std::array<std::size_t, 2> next_{};
  std::optional<Ledger> ledger_;
};

TEST_F(TwoProcesses, DoNotHoldOneRow) {
  play("begin, hold A, commit", "hold A, release");
  does(0);
  does(0, "1=start");
  begins(1);
  EXPECT_THROW(told(1, {Outcome::kDone, "1=start"}), BrokenPromise);
}

TEST_F(TwoProcesses, HoldARowOneAfterTheOther) {
  play("begin, hold A, commit", "hold A, release");
  does(0);
  does(0, "1=start");
  begins(1);
  begins(0);
  EXPECT_NO_THROW(told(1, {Outcome::kDone, "1=start"}));
}

TEST_F(TwoProcesses, DoNotWriteWhatTheOtherHolds) {
  play("hold A, release", "add A");
  does(0, "1=start");
  begins(1);
  EXPECT_THROW(told(1), BrokenPromise);
}

TEST_F(TwoProcesses, LoseNoWrite) {
  play("add A", "add A");
  does(0);
  does(1);
  EXPECT_NO_THROW(ledger_->compare({{1, "start,0.0,1.0"}, {2, "start"}}));
  EXPECT_THROW(ledger_->compare({{1, "start,1.0"}, {2, "start"}}), BrokenPromise);
  EXPECT_THROW(ledger_->compare({{1, "start,0.0,1.0,1.0"}, {2, "start"}}), BrokenPromise);
  EXPECT_THROW(ledger_->compare({{1, "0.0,1.0"}, {2, "start"}}), BrokenPromise);
  EXPECT_THROW(ledger_->compare({{2, "start"}}), BrokenPromise);
}

TEST_F(TwoProcesses, LeaveNothingOfWhatWasRolledBack) {
  play("begin, add A, rollback", "read A");
  does(0);
  does(0);
  begins(1);
  EXPECT_THROW(told(1, {Outcome::kDone, "1=start,0.1"}), BrokenPromise);
  does(0);
  EXPECT_NO_THROW(ledger_->compare({{1, "start"}, {2, "start"}}));
  EXPECT_THROW(ledger_->compare({{1, "start,0.1"}, {2, "start"}}), BrokenPromise);
}

TEST_F(TwoProcesses, LeaveAllOrNothingOfACommitThatWasKilled) {
  play("begin, add A, add B, commit", "read both");
  for (int command = 0; command < 3; ++command) does(0);
  begins(0);
  ledger_->killed(0);
  EXPECT_NO_THROW(ledger_->compare({{1, "start"}, {2, "start"}}));
  EXPECT_NO_THROW(ledger_->compare({{1, "start,0.1"}, {2, "start,0.2"}}));
  EXPECT_THROW(ledger_->compare({{1, "start,0.1"}, {2, "start"}}), BrokenPromise);
  EXPECT_THROW(does(1, "1=start;2=start,0.2"), BrokenPromise);
}

TEST_F(TwoProcesses, ReadWhatWasCommittedBefore) {
  play("add A", "read A");
  does(0);
  EXPECT_THROW(does(1, "1=start"), BrokenPromise);
}

TEST_F(TwoProcesses, AreRefusedByNobodyElse) {
  play("hold A, release", "add A, add A");
  does(0, "1=start");
  EXPECT_NO_THROW(does(1, {Outcome::kTimeout, ""}));
  does(0);
  EXPECT_THROW(does(1, {Outcome::kTimeout, ""}), BrokenPromise);
}

TEST_F(TwoProcesses, AreListedAsTheyHold) {
  play("hold A, release", "list, list");
  does(0, "1=start");
  EXPECT_NO_THROW(does(1, "1@100"));
  next_[1] = 0;
  EXPECT_THROW(does(1, ""), BrokenPromise);
  next_[1] = 0;
  EXPECT_THROW(does(1, "1@100;2@100"), BrokenPromise);
}

}  // namespace
}  // namespace tarnwick::interleavings
