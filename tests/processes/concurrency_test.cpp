#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/processes/worker_process.h"

namespace tarnwick {
namespace {

using test_support::WorkerProcess;
using ::testing::ElementsAre;
using ::testing::StartsWith;

constexpr int kWorkers = 4;

/// Several processes at work at the same time, which wait for each other's locks without end.
class ProcessesAtWork : public ::testing::Test {
 protected:
  void start(std::string_view load) {
    for (int number = 1; number <= kWorkers; ++number) {
      workers_.push_back(
          std::make_unique<WorkerProcess>(database_.folder(), "DESK-" + std::to_string(number)));
    }
    for (const auto& worker : workers_) {
      ASSERT_EQ(worker->ask({"connect", "-1"}), "True");
      ASSERT_EQ(worker->ask({load}), "True");
      ASSERT_EQ(worker->ask({"lock timeout", "-1"}), "-1");
    }
  }
  void hear_that_all_are_done() {
    for (const auto& worker : workers_) EXPECT_EQ(worker->hear(), "done");
  }

  test_support::EmbeddedDatabase database_;
  std::vector<std::unique_ptr<WorkerProcess>> workers_;
};

TEST_F(ProcessesAtWork, LoseNoneOfTheLoginsThatAllCountOnOnePc) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  TotalLogins) VALUES ('00-11', 'PC-1', 7, 5, 1, 10, 1000)");
  start("load pcs");
  for (const auto& worker : workers_) {
    worker->say({"count logins", "00-11\u00FEPC-1\u00FE7", "25"});
  }
  hear_that_all_are_done();
  EXPECT_THAT(database_.run("SELECT TotalLogins, SoftLock FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("1100", "")));
  EXPECT_EQ(workers_.front()->ask({"held"}), "");
}

TEST_F(ProcessesAtWork, LoseNoneOfTheLoginsThatEachCountsOnItsOwnPc) {
  for (int number = 1; number <= kWorkers; ++number) {
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('00-11', 'PC-" +
        std::to_string(number) + "', 7, 5, 1, 10)");
  }
  start("load pcs");
  for (std::size_t at = 0; at < workers_.size(); ++at) {
    workers_[at]->say(
        {"count logins", "00-11\u00FEPC-" + std::to_string(at + 1) + "\u00FE7", "25"});
  }
  hear_that_all_are_done();
  EXPECT_EQ(database_.value("SELECT group_concat(TotalLogins) FROM DW_SEC_PC"), "25,25,25,25");
}

TEST_F(ProcessesAtWork, InsertReportsSideBySide) {
  start("load reports");
  for (std::size_t at = 0; at < workers_.size(); ++at) {
    workers_[at]->say({"insert reports", "Report " + std::to_string(at + 1) + "-", "20"});
  }
  hear_that_all_are_done();
  EXPECT_THAT(
      database_.run("SELECT count(*), count(DISTINCT RowVersion), max(SoftLock) FROM DW_Reports"),
      ElementsAre(ElementsAre("80", "80", "")));
}

TEST_F(ProcessesAtWork, AreToldWhenAnotherInsertedTheSameReportFirst) {
  start("load reports");
  WorkerProcess& slow = *workers_[0];
  WorkerProcess& quick = *workers_[1];
  ASSERT_EQ(slow.ask({"new report", "Audit", "Slow"}), "True");
  ASSERT_EQ(quick.ask({"new report", "AUDIT", "Quick"}), "True");
  // It has looked twice by then, and found no row.
  ASSERT_EQ(slow.ask({"stop before step", "7"}), "ordered");
  ASSERT_THAT(slow.ask({"update", "Audit"}), StartsWith("at Insert "));
  EXPECT_EQ(quick.ask({"update", "AUDIT"}), "0");
  EXPECT_EQ(slow.ask({"go on"}), "1");
  EXPECT_THAT(slow.ask({"message"}),
              ::testing::HasSubstr("UNIQUE constraint failed: DW_Reports.ReportName"));
  EXPECT_THAT(database_.run("SELECT ReportName, Title FROM DW_Reports"),
              ElementsAre(ElementsAre("AUDIT", "Quick")));
  EXPECT_EQ(slow.ask({"release", "Audit"}), "True");
  EXPECT_EQ(slow.ask({"update", "Audit"}), "0") << "the second time it finds the row";
}

TEST_F(ProcessesAtWork, WaitForAnothersCommitEvenOfADifferentRow) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales'), ('Stock')");
  start("load reports");
  WorkerProcess& slow = *workers_[0];
  WorkerProcess& other = *workers_[1];
  const std::string long_value(4'000, '.');
  slow.ask({"change", "Sales", long_value});
  other.ask({"change", "Stock", "other"});
  // In the midst of its pages: it has the file to itself, and its commit is not complete.
  ASSERT_EQ(slow.ask({"stop before call", "8"}), "ordered");
  ASSERT_THAT(slow.ask({"update", "Sales"}), StartsWith("at "));
  other.say({"update", "Stock"});
  EXPECT_EQ(slow.ask({"go on"}), "0");
  EXPECT_EQ(other.hear(), "0");
  EXPECT_THAT(database_.run("SELECT Title FROM DW_Reports ORDER BY ReportName"),
              ElementsAre(ElementsAre(long_value), ElementsAre("other")));
}

}  // namespace
}  // namespace tarnwick
