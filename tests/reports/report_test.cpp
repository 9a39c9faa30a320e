#include "reports/report.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

class NewReportObject : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
  Report report_{state_};
};

TEST_F(NewReportObject, BeginsWithItsDefaults) {
  EXPECT_EQ(report_.image_index(), 11);
  EXPECT_EQ(report_.report_type(), CrystalReport_rt);
  EXPECT_EQ(report_.maintenance_type(), Report_mt);
  EXPECT_EQ(report_.created(), Date{});
  for (const Text& text :
       {report_.name(), report_.title(), report_.author(), report_.version(),
        report_.report_group_id(), report_.sql(), report_.description(), report_.definition(),
        report_.ttx(), report_.soft_lock(), report_.row_version(), report_.key()}) {
    EXPECT_EQ(text, u"");
  }
  EXPECT_FALSE(report_.changed());
  EXPECT_FALSE(report_.locked());
  EXPECT_FALSE(report_.initialized());
}

TEST_F(NewReportObject, IsInitializedOnceItHasAName) {
  report_.set_title(u"Title");
  EXPECT_FALSE(report_.initialized());
  report_.set_name(u"Sales");
  EXPECT_TRUE(report_.initialized());
  report_.set_name(u"");
  EXPECT_FALSE(report_.initialized());
}

TEST_F(NewReportObject, HasItsNameForAKey) {
  report_.set_name(u"Sales");
  EXPECT_EQ(report_.key(), u"Sales");
  report_.set_name(u"Stock");
  EXPECT_EQ(report_.key(), u"Stock");
}

TEST_F(NewReportObject, StaysUnchangedByValuesThatItHas) {
  report_.set_name(u"");
  report_.set_title(u"");
  report_.set_author(u"");
  report_.set_created(Date{});
  report_.set_version(u"");
  report_.set_report_group_id(u"");
  report_.set_image_index(11);
  report_.set_sql(u"");
  report_.set_ttx(u"");
  report_.set_report_type(CrystalReport_rt);
  report_.set_description(u"");
  report_.set_maintenance_type(Report_mt);
  report_.set_definition(u"");
  EXPECT_FALSE(report_.changed());
}

TEST_F(NewReportObject, StaysChangedWhenAValueIsSetBack) {
  report_.set_title(u"Title");
  report_.set_title(u"");
  EXPECT_TRUE(report_.changed());
}

TEST_F(NewReportObject, IsChangedByAnotherLetterCase) {
  const auto is_changed_by = [&](TextView title) {
    Report report(state_);
    report.set_title(Text(title));
    return report.changed();
  };
  EXPECT_TRUE(is_changed_by(u"T"));
  Report named(state_);
  named.set_name(u"Sales");
  EXPECT_TRUE(named.changed());
}

template <class Set>
bool changes(SharedState& state, Set&& set) {
  Report report(state);
  set(report);
  return report.changed();
}

TEST_F(NewReportObject, IsChangedByEverySetter) {
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_name(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_title(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_author(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_created(Date{1.0}); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_version(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_report_group_id(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_image_index(12); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_sql(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_ttx(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_report_type(None_rt); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_description(u"x"); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_maintenance_type(NotDefined_mt); }));
  EXPECT_TRUE(changes(state_, [](Report& r) { r.set_definition(u"x"); }));
}

TEST_F(NewReportObject, KeepsWhatItIsGiven) {
  using namespace std::string_view_literals;
  report_.set_name(u"Sales");
  report_.set_title(Text(u"a\0b"sv));
  report_.set_author(Text(1'000'000, u'x'));
  report_.set_created(Date{-1.25});
  report_.set_version(u"2");
  report_.set_report_group_id(u"Group");
  report_.set_image_index(-32768);
  report_.set_sql(u"Select '");
  report_.set_ttx(u"\u20AC");
  report_.set_report_type(ReportTypesEnum{7});
  report_.set_description(u"\U0001F600");
  report_.set_maintenance_type(MaintTypeEnum{70000});
  report_.set_definition(u"\r\n");
  EXPECT_EQ(report_.name(), u"Sales");
  EXPECT_EQ(report_.title(), u"a\0b"sv);
  EXPECT_EQ(report_.author().size(), 1'000'000u);
  EXPECT_EQ(report_.created(), Date{-1.25});
  EXPECT_EQ(report_.version(), u"2");
  EXPECT_EQ(report_.report_group_id(), u"Group");
  EXPECT_EQ(report_.image_index(), -32768);
  EXPECT_EQ(report_.sql(), u"Select '");
  EXPECT_EQ(report_.ttx(), u"\u20AC");
  EXPECT_EQ(report_.report_type(), ReportTypesEnum{7});
  EXPECT_EQ(report_.description(), u"\U0001F600");
  EXPECT_EQ(report_.maintenance_type(), MaintTypeEnum{70000});
  EXPECT_EQ(report_.definition(), u"\r\n");
}

TEST_F(NewReportObject, TellsTheCodeOfItsType) {
  EXPECT_EQ(report_.report_type_as_string(), u"CRY");
  report_.set_report_type(None_rt);
  EXPECT_EQ(report_.report_type_as_string(), u"");
  report_.set_report_type(ReportTypesEnum{2});
  EXPECT_EQ(report_.report_type_as_string(), u"");
}

TEST_F(NewReportObject, ReadsACodeWithoutTakingItOver) {
  EXPECT_EQ(report_.get_report_type_from_string(u"none"), None_rt);
  EXPECT_EQ(report_.report_type(), CrystalReport_rt);
  report_.set_report_type(None_rt);
  EXPECT_EQ(report_.get_report_type_from_string(u"cRy"), CrystalReport_rt);
  EXPECT_EQ(report_.report_type(), None_rt);
}

TEST_F(NewReportObject, ShowsTheErrorStateThatAllShare) {
  EXPECT_EQ(report_.last_error_number(), 0);
  state_.errors.record({u"Server", u"Refresh"}, Error(ErrorNumber::kOverflow));
  EXPECT_EQ(report_.last_error_number(), 6);
  EXPECT_EQ(report_.last_error_msg(), test_support::account(u"Server", u"Refresh", 6, u"Overflow"));
}

template <class T>
concept HasSoftLockSetter = requires(T& report) {
  report.set_soft_lock(Text());
};
template <class T>
concept HasRowVersionSetter = requires(T& report) {
  report.set_row_version(Text());
};

TEST_F(NewReportObject, OffersClientsNoSetterOfLockAndRowVersion) {
  EXPECT_FALSE(HasSoftLockSetter<Report>);
  EXPECT_FALSE(HasRowVersionSetter<Report>);
  EXPECT_FALSE(std::is_copy_constructible_v<Report>);
}

}  // namespace
}  // namespace tarnwick
