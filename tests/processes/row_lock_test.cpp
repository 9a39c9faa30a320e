#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/processes/worker_process.h"

namespace tarnwick {
namespace {

using test_support::kQuestion;
using test_support::WorkerProcess;
using ::testing::ElementsAre;

/// Two server processes, each with the reports Sales and Stock.
class TwoProcesses : public ::testing::Test {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old'), "
        "('Stock', 'Old')");
    first_.connect_and_load_reports();
    second_.connect_and_load_reports();
  }

  test_support::EmbeddedDatabase database_;
  WorkerProcess first_{database_.folder(), "FIRST"};
  WorkerProcess second_{database_.folder(), "SECOND"};
};

TEST_F(TwoProcesses, MaintainDifferentRowsWithoutWaitingForEachOther) {
  ASSERT_EQ(first_.ask({"lock", "Sales"}), "True");
  ASSERT_EQ(second_.ask({"lock", "Stock"}), "True");
  first_.ask({"change", "Sales", "First"});
  second_.ask({"change", "Stock", "Second"});
  EXPECT_EQ(second_.ask({"update", "Stock"}), "0");
  EXPECT_EQ(first_.ask({"update", "Sales"}), "0");
  EXPECT_THAT(database_.run("SELECT ReportName, Title, SoftLock FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Sales", "First", ""), ElementsAre("Stock", "Second", "")));
}

}  // namespace
}  // namespace tarnwick
