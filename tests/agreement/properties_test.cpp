#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "components/refresh_component.h"
#include "pcs/refresh_pcs.h"
#include "records/column_values.h"
#include "records/recordset_access.h"
#include "reports/refresh_report.h"
#include "runtime/case_mapping.h"
#include "tests/agreement/agreement.h"
#include "tests/support/connected_test.h"

namespace tarnwick::agreement {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kNotRead = [](const auto& property) { return property.reading.place == 0; };
constexpr auto kNotWritten = [](const auto& property) { return property.writing.place == 0; };

// Whoever adds a property meets these lists: what is not read or not written is so on purpose.
TEST(PropertiesThatAreNotRead, AreTheseAlone) {
  EXPECT_THAT(properties_that<Component>(kNotRead), ElementsAre("SoftLock"));
  EXPECT_THAT(properties_that<RegisteredPC>(kNotRead), IsEmpty());
  EXPECT_THAT(properties_that<Report>(kNotRead), IsEmpty());
}

TEST(PropertiesThatAreNotWritten, AreTheseAlone) {
  EXPECT_THAT(properties_that<Component>(kNotWritten),
              ElementsAre("MetaID", "AuthorizedRole", "RowVersion", "SoftLock"));
  EXPECT_THAT(properties_that<RegisteredPC>(kNotWritten), ElementsAre("SoftLock", "RowVersion"));
  EXPECT_THAT(properties_that<Report>(kNotWritten), ElementsAre("SoftLock", "RowVersion"));
}

bool load(SharedState& state, ado::Recordset& row, Component& record) {
  return refresh_component(state, &row, &record);
}
bool load(SharedState& state, ado::Recordset& row, RegisteredPC& record) {
  return refresh_pc(state, &row, &record);
}
bool load(SharedState& state, ado::Recordset& row, Report& record) {
  return refresh_report(state, &record, &row);
}

// A value that no other property has: it tells its column from all the others. Small enough for a
// number of 16 bits, and no zero, which some classes do not write.
template <class T>
T value_at(int place) {
  if constexpr (std::is_same_v<T, Text>) {
    return join({u"V", decimal(place)});
  } else if constexpr (std::is_same_v<T, Date>) {
    return Date{45'000.0 + place};
  } else if constexpr (std::is_same_v<T, ReportTypesEnum>) {
    return CrystalReport_rt;
  } else if constexpr (std::is_same_v<T, ReportCodeEnum>) {
    return PCAll_rc;
  } else {
    return static_cast<T>(place);
  }
}

template <class Record>
class PropertiesOf : public test_support::ConnectedTest {};
using Records = ::testing::Types<Component, RegisteredPC, Report>;
TYPED_TEST_SUITE(PropertiesOf, Records);

TYPED_TEST(PropertiesOf, AreReadFromTheColumnsThatTheyAreWrittenTo) {
  for_each_property<TypeParam>([](const auto& property) {
    if (property.reading.place == 0 || property.writing.place == 0) return;
    EXPECT_TRUE(equals_ignoring_case(property.reading.column, property.writing.column))
        << property.name;
  });
}

TYPED_TEST(PropertiesOf, HaveNamesAndColumnsOfTheirOwn) {
  std::set<std::string_view> names;
  std::set<TextView> columns;
  for_each_property<TypeParam>([&](const auto& property) {
    EXPECT_TRUE(names.insert(property.name).second) << property.name;
    EXPECT_TRUE(columns.insert(property.reading.column).second) << property.name;
    EXPECT_FALSE(property.description.empty()) << property.name;
  });
}

TYPED_TEST(PropertiesOf, ComeBackFromTheRowThatAnUpdateWrote) {
  TypeParam written(this->state());
  for_each_written<TypeParam>([&](const auto& property) {
    using T = typename std::remove_cvref_t<decltype(property)>::Value;
    PropertyAccess::set(written, property, value_at<T>(property.writing.place));
  });
  ASSERT_EQ(written.update(), OK_ue) << to_display_utf8(this->message());

  const auto rows =
      get_recordset(this->state(), join({u"Select * From ", Properties<TypeParam>::kTable}),
                    ado::LockType::kOptimistic);
  ASSERT_NE(rows, nullptr);
  TypeParam read(this->state());
  ASSERT_TRUE(load(this->state(), *rows, read)) << to_display_utf8(this->message());
  for_each_written<TypeParam>([&](const auto& property) {
    using T = typename std::remove_cvref_t<decltype(property)>::Value;
    EXPECT_EQ((read.*property.kGet)(), value_at<T>(property.writing.place)) << property.name;
  });
}

TYPED_TEST(PropertiesOf, MarkTheRecordChangedWhereAnUpdateWouldWriteThem) {
  for_each_written<TypeParam>([&](const auto& property) {
    using T = typename std::remove_cvref_t<decltype(property)>::Value;
    TypeParam record(this->state());
    // What a new object has already is no change.
    const T value = value_at<T>(property.writing.place);
    const bool differs = (record.*property.kGet)() != value;
    PropertyAccess::set(record, property, value);
    EXPECT_EQ(record.changed(), differs) << property.name;
  });
}

}  // namespace
}  // namespace tarnwick::agreement
