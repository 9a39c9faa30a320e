#include "reports/reports.h"

#include <gtest/gtest.h>

#include "tests/reports/report_fixture.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;

class ReportsCollection : public test_support::ReportTest {
 protected:
  std::shared_ptr<Report> add(TextView name) {
    NewReport values;
    values.report_name = name;
    return reports().add(values);
  }
  std::shared_ptr<Report> outside(TextView name) {
    auto report = std::make_shared<Report>(state());
    report->set_name(Text(name));
    return report;
  }
};

TEST_F(ReportsCollection, FindsByNameInAnyLetterCaseAndByPosition) {
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(report(u"Sales")->name(), u"Sales");
  EXPECT_EQ(report(u"sALES"), report(u"Sales"));
  EXPECT_EQ(reports().item(std::int32_t{1}), report(u"Sales"));
  EXPECT_EQ(reports().item(std::int16_t{2}), report(u"Stock"));
  EXPECT_EQ(reports().item(2.0), report(u"Stock"));
}

TEST_F(ReportsCollection, HasNothingUnderAnUnknownKeyOrPosition) {
  EXPECT_EQ(report(u"Nothing"), nullptr);
  EXPECT_EQ(report(u""), nullptr);
  EXPECT_EQ(report(u"1"), nullptr);
  EXPECT_EQ(reports().item(std::int32_t{0}), nullptr);
  EXPECT_EQ(reports().item(std::int32_t{3}), nullptr);
  EXPECT_EQ(reports().item(std::int32_t{-1}), nullptr);
  EXPECT_EQ(reports().item(Empty{}), nullptr);
  EXPECT_EQ(reports().item(Null{}), nullptr);
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportsCollection, TellsWhetherANameExists) {
  EXPECT_TRUE(reports().exists(u"Sales"));
  EXPECT_TRUE(reports().exists(u"SALES"));
  EXPECT_FALSE(reports().exists(u"Sales "));
  EXPECT_FALSE(reports().exists(u""));
  EXPECT_FALSE(reports().exists(u"1"));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportsCollection, ComparesNamesWithoutRegardToCaseBeyondAscii) {
  ASSERT_NE(add(u"\u00DCbersicht"), nullptr);
  EXPECT_TRUE(reports().exists(u"\u00FCBERSICHT"));
}

TEST_F(ReportsCollection, IsWalkedInOrder) {
  ASSERT_NE(add(u"Added"), nullptr);
  auto walk = reports().new_enum();
  EXPECT_EQ(walk.next(), report(u"Sales"));
  EXPECT_EQ(walk.next(), report(u"Stock"));
  EXPECT_EQ(walk.next(), report(u"Added")) << "an added one stands last";
  EXPECT_EQ(walk.next(), nullptr);
}

TEST_F(ReportsCollection, IsInitializedWithAnEntryAndAConnection) {
  EXPECT_TRUE(reports().initialized());
  EXPECT_TRUE(reports().valid_object());
  ASSERT_TRUE(report(u"Sales")->remove());
  ASSERT_TRUE(report(u"Stock")->remove());
  EXPECT_FALSE(reports().initialized());
  EXPECT_FALSE(reports().valid_object());
  ASSERT_NE(add(u"New"), nullptr);
  EXPECT_TRUE(reports().initialized());
  state().connection->close();
  EXPECT_FALSE(reports().initialized());
  EXPECT_FALSE(reports().valid_object());
  state().connection.reset();
  EXPECT_FALSE(reports().initialized());
  EXPECT_FALSE(reports().valid_object());
}

TEST_F(ReportsCollection, IsChangedWhenAnEntryIs) {
  EXPECT_FALSE(reports().changed());
  report(u"Stock")->set_title(u"new");
  EXPECT_TRUE(reports().changed());
  ASSERT_EQ(report(u"Stock")->update(), OK_ue);
  EXPECT_FALSE(reports().changed());
}

TEST_F(ReportsCollection, IsUnchangedWhileItIsEmpty) {
  Reports empty(state());
  EXPECT_EQ(empty.count(), 0);
  EXPECT_FALSE(empty.changed());
}

TEST_F(ReportsCollection, IsOneForAllItsObjectsAndBegunAnewByEachNewOne) {
  const auto sales = report(u"Sales");
  Reports second(state());
  EXPECT_EQ(second.count(), 0);
  EXPECT_EQ(reports().count(), 0);
  NewReport values;
  values.report_name = u"New";
  ASSERT_NE(second.add(values), nullptr);
  EXPECT_TRUE(reports().exists(u"New"));
  EXPECT_EQ(sales->title(), u"Title") << "who holds an entry keeps it";
}

TEST_F(ReportsCollection, IsGoneForAllWithTheEndOfAnyObject) {
  { const Reports second(state()); }
  EXPECT_EQ(reports().count(), 0);
  EXPECT_FALSE(reports().exists(u"Sales"));
  EXPECT_EQ(report(u"Sales"), nullptr);
  EXPECT_FALSE(reports().changed());
  EXPECT_FALSE(reports().initialized());
  EXPECT_EQ(reports().new_enum().next(), nullptr);
  EXPECT_EQ(add(u"New"), nullptr);
  EXPECT_EQ(message(),
            account(u"Reports", u"Add", 91, u"Object variable or With block variable not set"));
  EXPECT_FALSE(reports().add_report_object(outside(u"New")));
  load();
  EXPECT_EQ(reports().count(), 2) << "a reload brings it back";
}

TEST_F(ReportsCollection, MakesAReportOfTheArguments) {
  NewReport values;
  values.report_name = u"New";
  values.title = u"t";
  values.author = u"a";
  values.created = Date{2.5};
  values.version = u"v";
  values.report_group_id = u"g";
  values.image_index = 3;
  values.sql = u"s";
  values.ttx = u"x";
  values.report_type = CrystalReport_rt;
  values.description = u"d";
  values.maintenance_type = 5;
  values.row_version = u"0000000000000001";
  values.definition = u"f";
  const auto added = reports().add(values);
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added, report(u"New"));
  EXPECT_EQ(added->name(), u"New");
  EXPECT_EQ(added->title(), u"t");
  EXPECT_EQ(added->author(), u"a");
  EXPECT_EQ(added->created(), Date{2.5});
  EXPECT_EQ(added->version(), u"v");
  EXPECT_EQ(added->report_group_id(), u"g");
  EXPECT_EQ(added->image_index(), 3);
  EXPECT_EQ(added->sql(), u"s");
  EXPECT_EQ(added->ttx(), u"x");
  EXPECT_EQ(added->report_type(), CrystalReport_rt);
  EXPECT_EQ(added->description(), u"d");
  EXPECT_EQ(added->maintenance_type(), PCReg_mt);
  EXPECT_EQ(added->definition(), u"f");
  EXPECT_EQ(added->row_version(), u"") << "accepted, and not stored";
  EXPECT_TRUE(added->changed());
  EXPECT_TRUE(process_.trace().empty()) << "nothing is written";
}

TEST_F(ReportsCollection, AddsAReportThatItsFirstUpdateWritesWithoutAComparison) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('New', 'Theirs')");
  NewReport values;
  values.report_name = u"New";
  values.title = u"Mine";
  values.row_version = u"0000000000000001";
  const auto added = reports().add(values);
  EXPECT_EQ(added->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'New'"), "Mine");
}

TEST_F(ReportsCollection, AddsNoReportWithoutAName) {
  EXPECT_EQ(add(u""), nullptr);
  EXPECT_EQ(message(), raised(u"No report name provided, unable to add report to collection!",
                              u"Reports", u"Add"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_EQ(reports().count(), 2);
}

TEST_F(ReportsCollection, AddsNoReportUnderANameThatIsTaken) {
  const auto sales = report(u"Sales");
  EXPECT_EQ(add(u"SALES"), nullptr);
  EXPECT_EQ(message(),
            account(u"Reports", u"Add", 457,
                    u"This key is already associated with an element of this collection"));
  EXPECT_EQ(number(), 457);
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(report(u"Sales"), sales);
}

TEST_F(ReportsCollection, TakesAReportObjectUnderItsName) {
  const auto added = outside(u"New");
  EXPECT_TRUE(reports().add_report_object(added));
  EXPECT_EQ(report(u"New"), added);
  EXPECT_EQ(reports().count(), 3);
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ReportsCollection, KeepsAReportObjectUnderTheNameThatItHadThen) {
  const auto added = outside(u"New");
  ASSERT_TRUE(reports().add_report_object(added));
  added->set_name(u"Renamed");
  EXPECT_TRUE(reports().exists(u"New"));
  EXPECT_FALSE(reports().exists(u"Renamed"));
}

TEST_F(ReportsCollection, SaysThatAReportObjectIsOnFileAndRaisesNothing) {
  const auto sales = report(u"Sales");
  EXPECT_FALSE(reports().add_report_object(outside(u"SALES")));
  EXPECT_EQ(message(),
            u"Report 'SALES' is already on file. Unable to add to the reports collection!");
  EXPECT_EQ(number(), 0);
  EXPECT_EQ(reports().count(), 2);
  EXPECT_EQ(report(u"Sales"), sales);
}

TEST_F(ReportsCollection, SaysSoToTheReportThatItHoldsToo) {
  EXPECT_FALSE(reports().add_report_object(report(u"Sales")));
  EXPECT_EQ(message(),
            u"Report 'Sales' is already on file. Unable to add to the reports collection!");
}

TEST_F(ReportsCollection, ReplacesOlderMessagesByThatWord) {
  state().errors.set_message(u"older");
  EXPECT_FALSE(reports().add_report_object(outside(u"Sales")));
  EXPECT_EQ(message(),
            u"Report 'Sales' is already on file. Unable to add to the reports collection!");
}

TEST_F(ReportsCollection, RecordsThatThereIsNoReportObject) {
  EXPECT_FALSE(reports().add_report_object(nullptr));
  EXPECT_EQ(message(), account(u"Reports", u"AddReportObject", 91,
                               u"Object variable or With block variable not set"));
  EXPECT_EQ(reports().count(), 2);
}

TEST_F(ReportsCollection, ShowsTheErrorStateThatAllShare) {
  EXPECT_EQ(add(u""), nullptr);
  EXPECT_EQ(reports().last_error_msg(), message());
  EXPECT_EQ(reports().last_error_number(), -2147221504);
}

}  // namespace
}  // namespace tarnwick
