#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/processes/worker_process.h"

// Processes of Linux and processes under Wine over one embedded database.

namespace tarnwick {
namespace {

using test_support::kQuestion;
using test_support::native_worker;
using test_support::WorkerProcess;
using test_support::WorkerProgram;
using ::testing::ElementsAre;

std::string setting(const char* name) {
  const char* value = std::getenv(name);
  if (value == nullptr) throw std::runtime_error(std::string(name) + " is not set");
  return value;
}

/// Wine gives the host's files the drive Z:.
WorkerProgram windows_worker() {
  return {{setting("TARNWICK_WINE"), setting("TARNWICK_WINDOWS_WORKER")}, "Z:"};
}

/// Who comes first, and who meets him.
struct Pair {
  std::string name;
  WorkerProgram (*first)();
  WorkerProgram (*second)();
};

std::string name_of(const ::testing::TestParamInfo<Pair>& info) { return info.param.name; }

const auto kPairs = ::testing::Values(Pair{"LinuxFirst", native_worker, windows_worker},
                                      Pair{"WindowsFirst", windows_worker, native_worker});

/// One process of each system, with the reports Sales and Stock.
class LinuxAndWindows : public ::testing::TestWithParam<Pair> {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old'), ('Stock', 'Old')");
    for (WorkerProcess* worker : {&first_, &second_}) worker->connect_and_load_reports();
  }
  void TearDown() override { EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok"); }

  test_support::EmbeddedDatabase database_;
  WorkerProcess first_{database_.folder(), "FIRST", GetParam().first()};
  WorkerProcess second_{database_.folder(), "SECOND", GetParam().second()};
};

TEST_P(LinuxAndWindows, AskAboutARowThatTheOtherHoldsAndGetItWhenItIsWritten) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  ASSERT_EQ(second_.ask({"retry"}), kQuestion) << "the first one still holds it";
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_EQ(second_.ask({"retry"}), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "First");
  second_.ask({"change", "Sales", "Second"});
  EXPECT_EQ(second_.ask({"update", "Sales"}), "0");
  EXPECT_THAT(database_.run("SELECT Title, SoftLock FROM DW_Reports WHERE ReportName = 'Sales'"),
              ElementsAre(ElementsAre("Second", "")));
}

TEST_P(LinuxAndWindows, MaintainDifferentRowsAtOnce) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Stock"}), "True");
  first_.ask({"change", "Sales", "First"});
  second_.ask({"change", "Stock", "Second"});
  EXPECT_EQ(second_.ask({"update", "Stock"}), "0");
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_THAT(database_.run("SELECT Title FROM DW_Reports ORDER BY ReportName"),
              ElementsAre(ElementsAre("First"), ElementsAre("Second")));
}

TEST_P(LinuxAndWindows, ReadNoRowThatTheOtherHolds) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock timeout", "1"}), "1");
  EXPECT_EQ(second_.ask({"load reports"}), "True");
  EXPECT_EQ(second_.ask({"message"}),
            "\\r\\nError in Component: 'General', Proceedure: 'GetRecordset'.\\r\\nError #:    "
            "\\t-2147467259\\r\\nDescription:\\tLock request time out period exceeded.");
}

TEST_P(LinuxAndWindows, WaitForARowThatTheOtherHoldsUntilItIsWritten) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(second_.ask({"lock timeout", "-1"}), "-1");
  second_.say({"load reports"});
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  // Nobody can see when it begins to wait: it may have read in the very moment before the commit.
  EXPECT_EQ(second_.hear(), "True");
  EXPECT_EQ(second_.ask({"load reports"}), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "First");
}

TEST_P(LinuxAndWindows, AreRefusedTheRowThatTheOtherChangedSinceTheyReadIt) {
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(first_.ask({"update", "Sales"}), "0");
  second_.ask({"change", "Sales", "Second"});
  EXPECT_EQ(second_.ask({"update", "Sales"}), "5");
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'Sales'"), "First");
}

TEST_P(LinuxAndWindows, SeeWhoHoldsWhichRowEachWithTheNumberOfItsOwnSystem) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Stock"}), "True");
  const std::string sales =
      "[DW_Reports Sales FIRST - 12/24/2023 6:05:09 PM " + first_.ask({"process"}) + "]";
  const std::string stock =
      "[DW_Reports Stock SECOND - 12/24/2023 6:05:09 PM " + second_.ask({"process"}) + "]";
  EXPECT_EQ(first_.ask({"held"}), sales + stock);
  EXPECT_EQ(second_.ask({"held"}), stock + sales) << "its own come first";
  ASSERT_EQ(first_.ask({"release", "Sales"}), "True");
  EXPECT_EQ(second_.ask({"held"}), stock);
}

TEST_P(LinuxAndWindows, GetTheRowOfOneThatWasKilled) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  first_.kill();
  // Wine's server learns of the death a moment later than the killer.
  std::string answer = kQuestion.data();
  while (answer == kQuestion) answer = second_.ask({"retry"});
  EXPECT_EQ(answer, "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "Old");
  EXPECT_EQ(second_.ask({"held"}),
            "[DW_Reports Sales SECOND - 12/24/2023 6:05:09 PM " + second_.ask({"process"}) + "]");
}

INSTANTIATE_TEST_SUITE_P(Either, LinuxAndWindows, kPairs, name_of);

class DatabaseMadeElsewhere : public ::testing::TestWithParam<Pair> {
 protected:
  test_support::TemporaryFolder folder_;
};

TEST_P(DatabaseMadeElsewhere, LetsTheOtherIntoItsRole) {
  WorkerProcess maker(folder_.path(), "MAKER", GetParam().first());
  WorkerProcess other(folder_.path(), "OTHER", GetParam().second());
  ASSERT_EQ(maker.ask({"create database"}), "created");
  EXPECT_EQ(other.ask({"connect", "0"}), "True");
  EXPECT_EQ(other.ask({"insert reports", "R", "1"}), "done");
  EXPECT_EQ(maker.ask({"connect", "0"}), "True");
  EXPECT_EQ(maker.ask({"load reports"}), "True");
  EXPECT_EQ(maker.ask({"locked", "R1"}), "False");
  test_support::PlainSqlite database(folder_.path() / "Velmar_Sec.db");
  EXPECT_THAT(database.run("SELECT Iterations, length(Hash) FROM DW_APP_ROLE"),
              ElementsAre(ElementsAre("210000", "64")));
}

INSTANTIATE_TEST_SUITE_P(Either, DatabaseMadeElsewhere, kPairs, name_of);

/// Three processes of each system.
class LinuxAndWindowsAtWork : public ::testing::Test {
 protected:
  void start(std::string_view load) {
    for (int number = 1; number <= 3; ++number) {
      for (const auto program : {native_worker, windows_worker}) {
        workers_.push_back(std::make_unique<WorkerProcess>(
            database_.folder(), "DESK-" + std::to_string(number), program()));
      }
    }
    for (const auto& worker : workers_) {
      ASSERT_EQ(worker->ask({"connect", "-1"}), "True");
      ASSERT_EQ(worker->ask({load}), "True");
      ASSERT_EQ(worker->ask({"lock timeout", "-1"}), "-1");
    }
  }

  test_support::EmbeddedDatabase database_;
  std::vector<std::unique_ptr<WorkerProcess>> workers_;
};

TEST_F(LinuxAndWindowsAtWork, LoseNoneOfTheLoginsThatAllCountOnOnePc) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  TotalLogins) VALUES ('00-11', 'PC-1', 7, 5, 1, 10, 1000)");
  start("load pcs");
  for (const auto& worker : workers_) {
    worker->say({"count logins", "00-11\u00FEPC-1\u00FE7", "25"});
  }
  for (const auto& worker : workers_) EXPECT_EQ(worker->hear(), "done");
  EXPECT_THAT(database_.run("SELECT TotalLogins, SoftLock FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("1150", "")));
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
}

TEST_F(LinuxAndWindowsAtWork, InsertReportsSideBySide) {
  start("load reports");
  for (std::size_t at = 0; at < workers_.size(); ++at) {
    workers_[at]->say({"insert reports", "Report " + std::to_string(at + 1) + "-", "20"});
  }
  for (const auto& worker : workers_) EXPECT_EQ(worker->hear(), "done");
  EXPECT_THAT(database_.run("SELECT count(*), count(DISTINCT RowVersion) FROM DW_Reports"),
              ElementsAre(ElementsAre("120", "120")));
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
}

}  // namespace
}  // namespace tarnwick
