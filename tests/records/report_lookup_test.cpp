#include "records/report_lookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kSales =
    u"Open client static optimistic: Select * from DW_Reports  Where ReportName = 'Sales'";

class CheckReportRs : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'T'), ('Stock', 'S')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
  }

  Text title() { return to_text(state().report_row->field(u"Title").value()); }
};

TEST_F(CheckReportRs, KeepsTheRowOfTheReport) {
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_THAT(process_.trace(), ElementsAre(kSales));
  EXPECT_EQ(title(), u"T");
}

TEST_F(CheckReportRs, ReadsTheSameReportOnceInWhateverLetterCase) {
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_TRUE(check_report_rs(state(), u"SALES"));
  EXPECT_TRUE(check_report_rs(state(), u"sales"));
  EXPECT_THAT(process_.trace(), ElementsAre(kSales));
}

TEST_F(CheckReportRs, ReadsAnotherReport) {
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_TRUE(check_report_rs(state(), u"Stock"));
  EXPECT_EQ(title(), u"S");
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(process_.trace().size(), 3u);
}

TEST_F(CheckReportRs, AsksAgainOnceTheConnectionOfTheRowIsClosed) {
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  state().connection->close();
  EXPECT_FALSE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(number(), 3709);
}

TEST_F(CheckReportRs, DoesNothingForAnEmptyName) {
  EXPECT_FALSE(check_report_rs(state(), u""));
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(message(), u"");
}

TEST_F(CheckReportRs, FindsNoUnknownReportAndAsksForItAgain) {
  EXPECT_FALSE(check_report_rs(state(), u"Nothing"));
  EXPECT_EQ(message(), u"");
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Nothing')");
  EXPECT_TRUE(check_report_rs(state(), u"Nothing"));
}

TEST_F(CheckReportRs, RecordsAMalformedStatement) {
  EXPECT_FALSE(check_report_rs(state(), u"O'Hara"));
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'CheckReportRS'."
                            u"\r\nError #:    \t-2147217900\r\nDescription:\t"));
}

TEST_F(CheckReportRs, RecordsThatThereIsNoConnection) {
  state().connection.reset();
  EXPECT_FALSE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(message(), account(u"General", u"CheckReportRS", 3709,
                               u"The connection cannot be used to perform this operation. It is "
                               u"either closed or invalid in this context."));
}

TEST_F(CheckReportRs, ReadsAnewAfterAFailure) {
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_FALSE(check_report_rs(state(), u"O'Hara"));
  EXPECT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(title(), u"T");
}

TEST_F(CheckReportRs, ReadsAnewOnceTheReportsWereReloaded) {
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  database_.run("UPDATE DW_Reports SET Title = 'Newer'");
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(title(), u"T") << "the row at hand is not read again";
  ASSERT_TRUE(process_.server->reports()->refresh());
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(title(), u"Newer");
}

TEST_F(CheckReportRs, ReadsAnewOnceAReportWasWritten) {
  ASSERT_TRUE(process_.server->reports()->refresh());
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  const auto report = process_.server->reports()->item(Text(u"Sales"));
  report->set_title(u"Newer");
  ASSERT_EQ(report->update(), OK_ue);
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_EQ(title(), u"Newer");
}

TEST_F(CheckReportRs, ReadsAnewOnceAReportWasDeleted) {
  ASSERT_TRUE(process_.server->reports()->refresh());
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  ASSERT_TRUE(process_.server->reports()->item(Text(u"Sales"))->remove());
  EXPECT_FALSE(check_report_rs(state(), u"Sales"));
}

TEST_F(CheckReportRs, ReadsAnewOverANewConnection) {
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  ASSERT_TRUE(process_.connect());
  ASSERT_TRUE(check_report_rs(state(), u"Sales"));
  EXPECT_THAT(process_.trace(), ElementsAre(kSales));
}

}  // namespace
}  // namespace tarnwick
