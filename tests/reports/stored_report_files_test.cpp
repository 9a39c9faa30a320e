#include "reports/stored_report_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"
#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StoredReportFiles : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Report_Binary) VALUES ('Stock', NULL), "
        "('sales', X'00FF0D0A'), ('Orders', X''), ('Large', zeroblob(3000000))");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
  }

  std::vector<std::string> files() {
    std::vector<std::string> told;
    for (const StoredReportFile& file : stored_report_files(state())) {
      told.push_back(to_utf8(file.report) + " " + std::to_string(file.length));
    }
    return told;
  }
};

TEST_F(StoredReportFiles, AreToldWithTheirLengthsInTheOrderOfTheCatalog) {
  EXPECT_THAT(files(), ElementsAre("Large 3000000", "Orders 0", "sales 4"));
}

TEST_F(StoredReportFiles, AreToldOfRowsThatAreMaintainedToo) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->reports()->refresh());
  ASSERT_TRUE(other.server->reports()->item(Text(u"sales"))->lock_record());
  EXPECT_THAT(files(), ElementsAre("Large 3000000", "Orders 0", "sales 4"));
}

TEST_F(StoredReportFiles, AreToldWithoutATransactionOrALoad) {
  (void)process_.trace();
  const auto store = state().reports;
  (void)files();
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open server forward-only read-only: Select ReportName, "
                          u"length(Report_Binary) As FileLength From DW_Reports "
                          u"Order By ReportName"));
  EXPECT_EQ(state().reports, store);
  EXPECT_THAT(message(), IsEmpty());
}

TEST_F(StoredReportFiles, CannotBeToldWithoutAConnection) {
  ServerProcess unconnected(database_);
  EXPECT_EQ(test_support::error_number_of([&] { return stored_report_files(unconnected.state); }),
            91);
}

}  // namespace
}  // namespace tarnwick
