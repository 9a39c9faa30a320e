#include "automation/rows.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "runtime/error.h"
#include "tests/support/connected_test.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::automation {
namespace {

using test_support::error_number_of;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

class RowsTest : public test_support::ConnectedTest {
 protected:
  [[nodiscard]] Object create(ClassId of) { return class_of(of).create(state()); }

  [[nodiscard]] Object pc(TextView mac_number, std::int16_t comp_id) {
    const Object made = create(ClassId::kRegisteredPC);
    set(made, "MACNumber", Text(mac_number));
    set(made, "ComputerID", Text(u"DESK"));
    set(made, "CompID", comp_id);
    return made;
  }

  static void set(const Object& object, std::string_view name, const Value& value) {
    let(object, *find_member(class_of(object.class_id), name), value);
  }

  void store(TextView mac_number, std::int16_t comp_id = 7) {
    ASSERT_EQ(rows_.insert({pc(mac_number, comp_id)}, {}), OK_ue) << to_display_utf8(message());
  }

  /// The register, loaded.
  [[nodiscard]] AnyObject register_of_pcs() {
    const Object pcs = create(ClassId::kRegisteredPCs);
    EXPECT_EQ(call(pcs, *find_member(class_of(pcs.class_id), "Refresh")), Value(true));
    return {pcs};
  }

  [[nodiscard]] std::size_t place_of(std::string_view name) {
    const Values names = rows_.properties({create(ClassId::kRegisteredPC)});
    return static_cast<std::size_t>(std::ranges::find(names.all, Value(from_utf8(name))) -
                                    names.all.begin());
  }

  Rows rows_{state()};
};

TEST_F(RowsTest, InsertsARecordButOverNone) {
  store(u"02-A");
  EXPECT_EQ(rows_.insert({pc(u"02-A", 7)}, {}), RecordChanged_ue);
}

TEST_F(RowsTest, TellsWhatALookFound) {
  store(u"02-A");
  EXPECT_EQ(rows_.look({pc(u"nobody", 7)}).all.front(), Value(std::int32_t{0}));
  const Values seen = rows_.look({pc(u"02-a", 7)});
  EXPECT_EQ(seen.columns, 0u);
  EXPECT_THAT(seen.all,
              ElementsAre(Value(std::int32_t{1}), Value(false), Value(Text()), Value(0.0)));
}

TEST_F(RowsTest, NamesWhatItTellsOfARecord) {
  const Values names = rows_.properties({create(ClassId::kRegisteredPC)});
  EXPECT_EQ(names.all.front(), Value(Text(u"MACNumber")));
  EXPECT_THAT(names.all, Not(Contains(Value(Text(u"LastErrorMsg")))));
  EXPECT_THAT(names.all, Not(Contains(Value(Text(u"Refresh")))));
  EXPECT_EQ(rows_.properties({create(ClassId::kRegisteredPCs)}).all, names.all);
  EXPECT_THAT(rows_.properties({create(ClassId::kComponent)}).all,
              Not(Contains(Value(Text(u"PCs")))));
}

TEST_F(RowsTest, ReadsARecordInTheOrderOfItsNames) {
  const Values values = rows_.read({pc(u"02-A", 9)});
  EXPECT_EQ(values.columns, 0u);
  EXPECT_EQ(values.all.at(place_of("MACNumber")), Value(Text(u"02-A")));
  EXPECT_EQ(values.all.at(place_of("CompID")), Value(std::int16_t{9}));
  EXPECT_EQ(values.all.at(place_of("Locked")), Value(false));
}

TEST_F(RowsTest, HandsOutTheRowsOfACollectionFromAPosition) {
  for (const TextView number : {u"02-C", u"02-A", u"02-B"}) store(number);
  const AnyObject pcs = register_of_pcs();
  const auto mac_numbers = [&](std::int32_t first, std::int32_t count) {
    const Values rows = rows_.get_rows(pcs, first, count);
    std::vector<Text> numbers;
    for (std::size_t at = place_of("MACNumber"); at < rows.all.size(); at += rows.columns) {
      numbers.push_back(std::get<Text>(rows.all[at]));
    }
    return numbers;
  };
  EXPECT_THAT(mac_numbers(1, 100), ElementsAre(u"02-A", u"02-B", u"02-C"));
  EXPECT_THAT(mac_numbers(2, 1), ElementsAre(u"02-B"));
  EXPECT_THAT(mac_numbers(4, 100), IsEmpty());
  EXPECT_THAT(mac_numbers(1, 0), IsEmpty());
  EXPECT_EQ(error_number_of([&] { return rows_.get_rows(pcs, 0, 1); }), 9);
  EXPECT_EQ(error_number_of([&] { return rows_.get_rows(pcs, 1, -1); }), 9);
}

TEST_F(RowsTest, EndsAListOfLongRowsEarlyButNeverWithoutOne) {
  const Object reports = create(ClassId::kReports);
  for (const TextView name : {u"One", u"Two"}) {
    const Object report = create(ClassId::kReport);
    set(report, "Name", Text(name));
    set(report, "TTX", Text(Rows::kMostBytes, u'x'));
    const Value given = report;
    ASSERT_EQ(
        call(reports, *find_member(class_of(reports.class_id), "AddReportObject"), {&given, 1}),
        Value(true));
  }
  const Values first = rows_.get_rows({reports}, 1, 2);
  EXPECT_EQ(first.all.size(), first.columns);
  const Values second = rows_.get_rows({reports}, 2, 2);
  EXPECT_EQ(second.all.size(), second.columns);
  EXPECT_THAT(rows_.get_rows({reports}, 3, 2).all, IsEmpty());
}

TEST_F(RowsTest, FindsPcsAndTheLengthsOfReportFiles) {
  store(u"02-B", 8);
  store(u"02-A");
  const Values keys = rows_.find_pcs(u"desk");
  EXPECT_EQ(keys.columns, 3u);
  EXPECT_THAT(keys.all,
              ElementsAre(Value(Text(u"02-A")), Value(Text(u"DESK")), Value(std::int16_t{7}),
                          Value(Text(u"02-B")), Value(Text(u"DESK")), Value(std::int16_t{8})));
  database_.run("INSERT INTO DW_Reports (ReportName, Report_Binary) VALUES ('One', X'000102')");
  const Values files = rows_.report_files();
  EXPECT_EQ(files.columns, 2u);
  EXPECT_THAT(files.all, ElementsAre(Value(Text(u"One")), Value(3.0)));
}

TEST_F(RowsTest, RefusesNothingAndObjectsThatItIsNotFor) {
  const AnyObject nothing;
  const AnyObject pcs{create(ClassId::kRegisteredPCs)};
  const AnyObject record{create(ClassId::kRegisteredPC)};
  const AnyObject server{create(ClassId::kServer)};
  EXPECT_THAT((std::vector{error_number_of([&] { return rows_.insert(nothing, {}); }),
                           error_number_of([&] { return rows_.look(nothing); }),
                           error_number_of([&] { return rows_.properties(nothing); }),
                           error_number_of([&] { return rows_.read(nothing); }),
                           error_number_of([&] { return rows_.get_rows(nothing, 1, 1); })}),
              Each(91));
  EXPECT_THAT((std::vector{error_number_of([&] { return rows_.insert(pcs, {}); }),
                           error_number_of([&] { return rows_.look(pcs); }),
                           error_number_of([&] { return rows_.properties(server); }),
                           error_number_of([&] { return rows_.read(pcs); }),
                           error_number_of([&] { return rows_.get_rows(record, 1, 1); })}),
              Each(13));
}

}  // namespace
}  // namespace tarnwick::automation
