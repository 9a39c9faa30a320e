#include "client/attributes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "tests/support/thrown_error.h"

namespace tarnwick::client {
namespace {

using automation::ClassId;
using ::testing::IsEmpty;

template <class Record>
class AttributesOf : public ::testing::Test {
 protected:
  static std::vector<std::string_view> names() {
    std::vector<std::string_view> names;
    for (const Attribute& attribute : attributes_of(automation::kClassOf<Record>)) {
      names.push_back(attribute.name());
    }
    return names;
  }
};
using RecordClasses = ::testing::Types<Component, RegisteredPC, Report>;
TYPED_TEST_SUITE(AttributesOf, RecordClasses);

TYPED_TEST(AttributesOf, RecordsAreWhatIsWrittenInThatOrderAndThenWhatIsOnlyRead) {
  std::vector<std::string_view> wanted;
  for_each_written<TypeParam>([&](const auto& property) { wanted.push_back(property.name); });
  for_each_property<TypeParam>([&](const auto& property) {
    if (property.writing.place == 0 && property.reading.place != 0) wanted.push_back(property.name);
  });
  EXPECT_EQ(this->names(), wanted);
  EXPECT_EQ(std::ranges::count(wanted, "RowVersion"), 1);
}

TEST(Attributes, AreOfRecordsAlone) {
  EXPECT_THAT(attributes_of(ClassId::kServer), IsEmpty());
  EXPECT_THAT(attributes_of(ClassId::kReports), IsEmpty());
}

TEST(Attributes, TellWhatMayBeDoneWithThem) {
  const Attribute* name = find_attribute(ClassId::kReport, "Name");
  ASSERT_NE(name, nullptr);
  EXPECT_TRUE(name->key);
  EXPECT_TRUE(name->stored);
  EXPECT_TRUE(name->settable);
  const Attribute* version = find_attribute(ClassId::kReport, "RowVersion");
  ASSERT_NE(version, nullptr);
  EXPECT_FALSE(version->key);
  EXPECT_FALSE(version->stored);
  EXPECT_FALSE(version->settable);
  EXPECT_EQ(version->form, Form::kRowVersion);
  EXPECT_EQ(find_attribute(ClassId::kComponent, "SoftLock"), nullptr);
  EXPECT_EQ(find_attribute(ClassId::kReport, "name"), nullptr);
}

TEST(Attributes, KnowTheirColumnsAndWhatNullIsReadAs) {
  const Attribute& picture = *find_attribute(ClassId::kComponent, "ImageIndex");
  EXPECT_EQ(picture.column, u"ImageIndex");
  EXPECT_EQ(picture.null, AttributeValue(std::int16_t{1}));
  EXPECT_EQ(find_attribute(ClassId::kReport, "SQL")->column, u"SQLStmnt");
  EXPECT_EQ(find_attribute(ClassId::kReport, "SQL")->null, AttributeValue(Text()));
  EXPECT_EQ(find_attribute(ClassId::kReport, "TTX")->null, AttributeValue(Text()));
  EXPECT_EQ(find_attribute(ClassId::kReport, "Created")->null, AttributeValue(Date()));
  EXPECT_EQ(find_attribute(ClassId::kReport, "Name")->null, AttributeValue(Empty()))
      << "it may not be null";
}

TEST(Attributes, ConvertWhatTheirMembersGiveAndTake) {
  const Attribute& code = *find_attribute(ClassId::kComponent, "ReportCode");
  EXPECT_EQ(from_member_value(code, std::int32_t{PCAll_rc}), AttributeValue(PCAll_rc));
  EXPECT_EQ(to_member_value(PCAll_rc), automation::Value(std::int32_t{PCAll_rc}));
  const Attribute& name = *find_attribute(ClassId::kComponent, "Name");
  EXPECT_EQ(from_member_value(name, Text(u"a")), AttributeValue(Text(u"a")));
  EXPECT_EQ(test_support::error_number_of([&] {
              (void)from_member_value(name, true);
              return 0;
            }),
            13);
}

// A name that no table knows is refused when a program is built.
static_assert(HasAttribute<RegisteredPC, "CompID">);
static_assert(!HasAttribute<RegisteredPC, "CompId">);
static_assert(!HasAttribute<RegisteredPC, "Title">);
static_assert(!HasAttribute<Component, "SoftLock">);
static_assert(std::is_same_v<AttributeType<RegisteredPC, "CompID">, std::int16_t>);
static_assert(std::is_same_v<AttributeType<Report, "ReportType">, ReportTypesEnum>);

}  // namespace
}  // namespace tarnwick::client
