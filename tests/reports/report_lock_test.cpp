#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::account;
using test_support::kLookForSales;
using test_support::kOpenSales;
using test_support::locked_box;
using test_support::raised;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kNoCurrentRecord =
    u"Either BOF or EOF is True, or the current record has been deleted. Requested operation "
    u"requires a current record.";

class ReportLock : public test_support::ReportTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ReportTest::SetUp());
    ASSERT_TRUE(other_.connect());
    theirs_.set_name(u"Sales");
  }

  /// Whether a process that waits for nothing gets the row of Sales; it gives it back.
  bool is_free() {
    other_.host.box.questions.clear();
    other_.host.box.will_answer(Answer::kCancel);
    return theirs_.lock_record() && theirs_.release_record();
  }

  ServerProcess other_{database_};
  Report theirs_{other_.state};
};

TEST_F(ReportLock, FetchesStampsAndReloads) {
  const auto sales = report(u"Sales");
  database_.run("UPDATE DW_Reports SET Title = 'Newer' WHERE ReportName = 'Sales'");
  sales->set_title(u"dropped");
  EXPECT_TRUE(sales->lock_record());
  EXPECT_TRUE(sales->locked());
  EXPECT_EQ(sales->title(), u"Newer");
  EXPECT_EQ(to_utf8(sales->row_version()), stored("RowVersion"));
  EXPECT_FALSE(sales->changed());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, u"Update SoftLock"));
  EXPECT_EQ(message(), u"");
  EXPECT_FALSE(is_free());
}

TEST_F(ReportLock, ShowsItsOwnStampInTheObject) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  EXPECT_EQ(sales->soft_lock(), join({u"DESK-1 - ", test_support::ScriptedHost::kNowText}));
  EXPECT_EQ(stored("SoftLock"), "somebody") << "the stamp is not committed";
}

TEST_F(ReportLock, IsNotFetchedTwice) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  (void)process_.trace();
  sales->set_title(u"kept");
  EXPECT_TRUE(sales->lock_record());
  EXPECT_TRUE(sales->locked());
  EXPECT_EQ(sales->title(), u"kept");
  EXPECT_TRUE(sales->changed());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ReportLock, IsGivenBackByARollback) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  sales->set_title(u"never written");
  (void)process_.trace();
  EXPECT_TRUE(sales->release_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(stored("Title"), "Title");
  EXPECT_EQ(stored("SoftLock"), "somebody");
  EXPECT_TRUE(is_free());
  EXPECT_EQ(sales->title(), u"never written") << "the object keeps what it was given";
  EXPECT_TRUE(sales->changed());
}

TEST_F(ReportLock, ThatIsNotThereCannotBeGivenBack) {
  const auto sales = report(u"Sales");
  EXPECT_FALSE(sales->release_record());
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(message(), u"");
  ASSERT_TRUE(sales->lock_record());
  EXPECT_TRUE(sales->release_record());
  EXPECT_FALSE(sales->release_record());
}

TEST_F(ReportLock, CanBeTakenAgain) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  ASSERT_TRUE(sales->release_record());
  EXPECT_TRUE(sales->lock_record());
  EXPECT_FALSE(is_free());
}

TEST_F(ReportLock, FailsForARowThatIsNotThere) {
  Report missing(state());
  missing.set_name(u"Nothing");
  missing.set_title(u"kept");
  EXPECT_FALSE(missing.lock_record());
  EXPECT_FALSE(missing.locked());
  EXPECT_EQ(missing.title(), u"kept");
  const Text open =
      u"Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = 'Nothing'";
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", open, u"Rollback",
                          u"Open server forward-only read-only: Select * From DW_Reports Where "
                          u"ReportName = 'Nothing'",
                          u"Begin", open, u"Rollback"));
  EXPECT_EQ(message(),
            join({u"No Record found for ID: Nothing SQL=Select * From DW_Reports Where ReportName "
                  u"= 'Nothing'",
                  account(u"General", u"RefreshReport", 3021, kNoCurrentRecord)}));
  EXPECT_EQ(number(), 3021);
}

TEST_F(ReportLock, OfAMissingRowDoesNotBlockTheNext) {
  Report missing(state());
  missing.set_name(u"Nothing");
  ASSERT_FALSE(missing.lock_record());
  (void)process_.trace();
  const auto sales = report(u"Sales");
  EXPECT_TRUE(sales->lock_record());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, u"Update SoftLock"));
  EXPECT_TRUE(sales->locked());
}

TEST_F(ReportLock, FailsWithoutAName) {
  Report nameless(state());
  EXPECT_FALSE(nameless.lock_record());
  EXPECT_FALSE(nameless.locked());
}

TEST_F(ReportLock, FailsForANameWithAQuote) {
  process_.host.box.will_answer(Answer::kCancel);
  Report quoted(state());
  quoted.set_name(u"O'Hara");
  EXPECT_FALSE(quoted.lock_record());
  EXPECT_EQ(message(), raised(u"Error Opening Recordset! SQL=Select * From DW_Reports Where "
                              u"ReportName = 'O'Hara'",
                              u"General", u"UpdateRead"));
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(ReportLock, HeldByAnotherProcessIsAskedAboutAndGivenUp) {
  ASSERT_TRUE(theirs_.lock_record());
  process_.host.box.will_answer(Answer::kCancel);
  const auto sales = report(u"Sales");
  EXPECT_FALSE(sales->lock_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, u"Rollback", kLookForSales));
  EXPECT_EQ(sales->title(), u"Title");
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(ReportLock, HeldByAnotherProcessIsTakenOnceThatOneWrote) {
  ASSERT_TRUE(theirs_.lock_record());
  theirs_.set_title(u"Theirs");
  process_.host.box.will_answer(Answer::kRetry, [&] { ASSERT_EQ(theirs_.update(), OK_ue); });
  const auto sales = report(u"Sales");
  EXPECT_TRUE(sales->lock_record());
  EXPECT_EQ(sales->title(), u"Theirs");
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, u"Rollback", kLookForSales,
                                            u"Begin", kOpenSales, u"Update SoftLock"));
}

TEST_F(ReportLock, HeldByAnotherProcessKeepsAnUpdateFromWriting) {
  ASSERT_TRUE(theirs_.lock_record());
  const auto before = table();
  process_.host.box.will_answer(Answer::kCancel);
  const auto sales = report(u"Sales");
  sales->set_title(u"Mine");
  EXPECT_EQ(sales->update(), Error_ue);
  EXPECT_EQ(message(),
            raised(u"Record is currently being updated by another process!", u"Report", u"Update"));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpenSales, u"Rollback", kLookForSales));
  EXPECT_FALSE(sales->locked());
  EXPECT_EQ(table(), before);
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(ReportLock, OfASecondReportIsRefusedWhileTheProcessHoldsOne) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  const auto stock = report(u"Stock");
  EXPECT_FALSE(stock->lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", -2147168237,
                               u"Only one transaction can be active on this session."));
  EXPECT_TRUE(sales->locked());
  EXPECT_FALSE(is_free());
}

TEST_F(ReportLock, IsGivenBackWhenTheObjectVanishes) {
  auto mine = std::make_unique<Report>(state());
  mine->set_name(u"Sales");
  ASSERT_TRUE(mine->lock_record());
  (void)process_.trace();
  mine.reset();
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_TRUE(is_free());
}

TEST_F(ReportLock, IsGivenBackWhenTheCollectionIsReloadedAndNobodyHoldsTheObject) {
  ASSERT_TRUE(report(u"Sales")->lock_record());
  EXPECT_TRUE(reports().refresh());
  EXPECT_TRUE(is_free());
  EXPECT_FALSE(report(u"Sales")->locked());
}

TEST_F(ReportLock, OutlivesAReloadWhereSomebodyHoldsTheObject) {
  const auto sales = report(u"Sales");
  ASSERT_TRUE(sales->lock_record());
  load();
  EXPECT_TRUE(sales->locked());
  EXPECT_FALSE(is_free());
  EXPECT_NE(report(u"Sales"), sales);
  sales->set_title(u"Written through the old object");
  EXPECT_EQ(sales->update(), OK_ue);
  EXPECT_EQ(stored("Title"), "Written through the old object");
}

TEST_F(ReportLock, IsNotCountedWhenTheRowCannotBeLoaded) {
  process_.host.payload_folder = files_.path() / "missing";
  const auto sales = report(u"Sales");
  EXPECT_FALSE(sales->lock_record());
  EXPECT_FALSE(sales->locked());
  EXPECT_EQ(number(), 3004);
  process_.host.payload_folder = files_.path();
  EXPECT_TRUE(sales->lock_record()) << "the transaction that nobody owns is ended";
}

TEST_F(ReportLock, RecordsThatThereIsNoConnection) {
  const auto sales = report(u"Sales");
  state().connection.reset();
  EXPECT_FALSE(sales->lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 91,
                               u"Object variable or With block variable not set"));
}

}  // namespace
}  // namespace tarnwick
