#include "records/row_look.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::ServerProcess;
using ::testing::IsEmpty;

class RowLooks : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old'), ('Stock', 'Old')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
  }

  Look look(TextView name = u"sales", bool loads = true) {
    title_.clear();
    return look_at_row(
        state(), {u"Report", u"Look"},
        join({u"Select ReportName, Title From DW_Reports Where ReportName = '", name, u"'"}),
        {u"DW_REPORTS", {Text(name)}}, [&](ado::Recordset& row) {
          title_ = to_utf8(to_text(row.field(u"Title").value()));
          return loads;
        });
  }

  std::string title_;
};

TEST_F(RowLooks, LoadARowThatNobodyMaintains) {
  const Look found = look();
  EXPECT_EQ(found.outcome, LookOutcome::kLoaded);
  EXPECT_FALSE(found.held);
  EXPECT_EQ(title_, "Old");
  EXPECT_THAT(message(), IsEmpty());
}

TEST_F(RowLooks, LoadWhatWasCommittedOfARowThatIsMaintained) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->reports()->refresh());
  const auto report = other.server->reports()->item(Text(u"Sales"));
  ASSERT_TRUE(report->lock_record());
  const Look found = look();
  EXPECT_EQ(found.outcome, LookOutcome::kLoaded);
  EXPECT_TRUE(found.held);
  EXPECT_THAT(to_utf8(found.stamp), ::testing::HasSubstr(" - "));
  EXPECT_TRUE(found.process_id.has_value());
  EXPECT_EQ(title_, "Old");
  EXPECT_FALSE(look(u"Stock").held);
  ASSERT_TRUE(report->release_record());
  EXPECT_FALSE(look().held);
}

TEST_F(RowLooks, TellOfARowThatIsNotThere) {
  EXPECT_EQ(look(u"None").outcome, LookOutcome::kMissing);
  EXPECT_THAT(message(), IsEmpty());
}

TEST_F(RowLooks, FailWhereTheRowCannotBeLoaded) {
  EXPECT_EQ(look(u"Sales", false).outcome, LookOutcome::kFailed);
}

TEST_F(RowLooks, FailWithAnAccountWhereTheDatabaseRefuses) {
  EXPECT_EQ(look(u"x' Or").outcome, LookOutcome::kFailed);
  EXPECT_THAT(to_utf8(message()), ::testing::HasSubstr("Look"));
}

TEST_F(RowLooks, BeginNoTransaction) {
  (void)process_.trace();
  (void)look();
  EXPECT_THAT(process_.trace(), ::testing::ElementsAre(
                                    u"Open server forward-only read-only: Select ReportName, Title "
                                    u"From DW_Reports Where ReportName = 'sales'"));
}

}  // namespace
}  // namespace tarnwick
