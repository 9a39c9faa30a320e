#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/worker_process.h"

namespace tarnwick {
namespace {

using test_support::kQuestion;
using test_support::WorkerProcess;
using ::testing::ElementsAre;
using ::testing::StartsWith;

/// Server processes, each with the reports Sales and Stock.
class SeveralProcesses : public ::testing::Test {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old'), ('Stock', 'Old')");
    for (WorkerProcess* worker : {&first_, &second_, &third_}) worker->connect_and_load_reports();
  }

  [[nodiscard]] std::string title() const {
    return database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'Sales'");
  }
  [[nodiscard]] std::string soft_lock() const {
    return database_.value("SELECT SoftLock FROM DW_Reports WHERE ReportName = 'Sales'");
  }

  test_support::EmbeddedDatabase database_;
  WorkerProcess first_{database_.folder(), "FIRST"};
  WorkerProcess second_{database_.folder(), "SECOND"};
  WorkerProcess third_{database_.folder(), "THIRD"};
};

TEST_F(SeveralProcesses, MaintainDifferentRowsWithoutWaitingForEachOther) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Stock"}), "True");
  first_.ask({"change", "Sales", "First"});
  second_.ask({"change", "Stock", "Second"});
  EXPECT_EQ(second_.ask({"update", "Stock"}), "0");
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_THAT(database_.run("SELECT ReportName, Title, SoftLock FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Sales", "First", ""), ElementsAre("Stock", "Second", "")));
}

TEST_F(SeveralProcesses, WriteAndDeleteOtherRowsWhileOneIsHeld) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"new report", "Audit", "Title"}), "True");
  EXPECT_EQ(second_.ask({"update", "Audit"}), "0");
  EXPECT_EQ(second_.ask({"delete", "Stock"}), "True");
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_THAT(database_.run("SELECT ReportName FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Audit"), ElementsAre("Sales")));
}

TEST_F(SeveralProcesses, AskAboutARowThatAnotherHoldsAndGiveItUpOnCancel) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  EXPECT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  EXPECT_EQ(second_.ask({"cancel"}), "False");
  EXPECT_EQ(second_.ask({"locked", "Sales"}), "False");
  EXPECT_EQ(second_.ask({"lock", "Stock"}), "True") << "nothing is left of the attempt";
}

TEST_F(SeveralProcesses, GetTheRowByRetryAfterTheOtherWroteIt) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  ASSERT_EQ(second_.ask({"retry"}), kQuestion) << "the first one still holds it";
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_EQ(second_.ask({"retry"}), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "First");
  second_.ask({"change", "Sales", "Second"});
  EXPECT_EQ(second_.ask({"update", "Sales"}), "0");
  EXPECT_EQ(title(), "Second");
  EXPECT_EQ(soft_lock(), "");
}

TEST_F(SeveralProcesses, GetTheRowByRetryAfterTheOtherGaveItBack) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  EXPECT_EQ(first_.ask({"release", "Sales"}), "True");
  EXPECT_EQ(second_.ask({"retry"}), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "Old");
}

TEST_F(SeveralProcesses, GetTheRowByRetryAfterTheOtherWasKilled) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  first_.kill();
  EXPECT_EQ(second_.ask({"retry"}), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "Old");
}

TEST_F(SeveralProcesses, FindOneHolderWhenTwoWait) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Sales"}), kQuestion);
  ASSERT_EQ(third_.ask({"lock", "Sales"}), kQuestion);
  ASSERT_EQ(first_.ask({"release", "Sales"}), "True");
  EXPECT_EQ(third_.ask({"retry"}), "True");
  EXPECT_EQ(second_.ask({"retry"}), kQuestion);
  EXPECT_EQ(second_.ask({"cancel"}), "False");
}

TEST_F(SeveralProcesses, AreRefusedTheRowThatAnotherChangedSinceTheyReadIt) {
  first_.ask({"change", "Sales", "First"});
  ASSERT_EQ(first_.ask({"update", "Sales"}), "0");
  second_.ask({"change", "Sales", "Second"});
  EXPECT_EQ(second_.ask({"update", "Sales"}), "5");
  EXPECT_THAT(second_.ask({"message"}), StartsWith("The data for 'Sales' has changed since it was "
                                                   "originally read! Unable to update!"));
  EXPECT_EQ(third_.ask({"lock", "Sales"}), kQuestion) << "the second one keeps it";
  EXPECT_EQ(second_.ask({"release", "Sales"}), "True");
  EXPECT_EQ(third_.ask({"retry"}), "True");
  EXPECT_EQ(title(), "First");
}

TEST_F(SeveralProcesses, ReadingARowThatAnotherHoldsFailAfterTheLockTimeout) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock timeout", "1"}), "1");
  EXPECT_EQ(second_.ask({"load reports"}), "True");
  EXPECT_EQ(second_.ask({"message"}),
            "\\r\\nError in Component: 'General', Proceedure: 'GetRecordset'.\\r\\nError #:    "
            "\\t-2147467259\\r\\nDescription:\\tLock request time out period exceeded.");
  EXPECT_EQ(second_.ask({"title", "Stock"}), "Old") << "the list stays as it was";
}

TEST_F(SeveralProcesses, ReadTheRowOnceItIsWritten) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  first_.ask({"change", "Sales", "First"});
  // No time-out: the read waits as long as it takes.
  ASSERT_EQ(second_.ask({"lock timeout", "-1"}), "-1");
  second_.say({"load reports"});
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_EQ(second_.hear(), "True");
  EXPECT_EQ(second_.ask({"title", "Sales"}), "First");
}

TEST_F(SeveralProcesses, SeeWhoHoldsWhichRow) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Stock"}), "True");
  const std::string held = third_.ask({"held"});
  EXPECT_EQ(held, "[DW_Reports Sales FIRST - 12/24/2023 6:05:09 PM " +
                      std::to_string(first_.process()) +
                      "][DW_Reports Stock SECOND - 12/24/2023 6:05:09 PM " +
                      std::to_string(second_.process()) + "]");
  first_.kill();
  EXPECT_EQ(third_.ask({"held"}), "[DW_Reports Stock SECOND - 12/24/2023 6:05:09 PM " +
                                      std::to_string(second_.process()) + "]");
  ASSERT_EQ(second_.ask({"release", "Stock"}), "True");
  EXPECT_EQ(third_.ask({"held"}), "");
}

TEST_F(SeveralProcesses, LeaveTheRowReadableForOtherProgramsWhileTheyHoldIt) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  EXPECT_EQ(title(), "Old");
  EXPECT_EQ(soft_lock(), "NULL") << "the stamp is not committed";
}

}  // namespace
}  // namespace tarnwick
