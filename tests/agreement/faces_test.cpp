#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "automation/dbus/interface.h"
#include "tests/agreement/agreement.h"

namespace tarnwick::agreement {
namespace {

using automation::class_of;
using automation::Member;

template <class Record>
class FacesOf : public ::testing::Test {
 protected:
  const automation::Class& class_ = class_of(automation::kClassOf<Record>);
};
using Records = ::testing::Types<Component, RegisteredPC, Report>;
TYPED_TEST_SUITE(FacesOf, Records);

TYPED_TEST(FacesOf, ARecordHaveEachPropertyAtThePlaceOfItsDispatchId) {
  for_each_property<TypeParam>([&](const auto& property) {
    const auto place = static_cast<std::size_t>(property.id) - 1;
    ASSERT_LT(place, this->class_.members.size()) << property.name;
    const Member& member = this->class_.members[place];
    EXPECT_EQ(member.name, property.name);
    EXPECT_EQ(member.access, property.access == Access::kReadWrite ? Member::Access::kGetLet
                                                                   : Member::Access::kGet)
        << property.name;
  });
}

TYPED_TEST(FacesOf, ARecordHaveEachPropertyOnTheBus) {
  using automation::dbus::InterfaceMember;
  const auto interface = automation::dbus::class_interface(this->class_);
  for_each_property<TypeParam>([&](const auto& property) {
    const auto found =
        std::ranges::find(interface.members, std::string(property.name), &InterfaceMember::name);
    ASSERT_NE(found, interface.members.end()) << property.name;
    EXPECT_EQ(found->kind, property.access == Access::kReadWrite
                               ? InterfaceMember::Kind::kProperty
                               : InterfaceMember::Kind::kReadOnlyProperty)
        << property.name;
  });
}

}  // namespace
}  // namespace tarnwick::agreement
