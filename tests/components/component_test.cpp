#include "components/component.h"

#include <gtest/gtest.h>

#include "tests/support/component_setters.h"
#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

class NewComponent : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
  Component component_{state_};
  test_support::ComponentSetters set_{component_};
};

TEST_F(NewComponent, HasItsDefaults) {
  EXPECT_EQ(component_.comp_id(), -1);
  EXPECT_EQ(component_.name(), u"");
  EXPECT_EQ(component_.parent_id(), 0);
  EXPECT_EQ(component_.priority(), 0);
  EXPECT_EQ(component_.image_index(), 1);
  EXPECT_FALSE(component_.force_display());
  EXPECT_EQ(component_.maintenance_type(), NotDefined_mt);
  EXPECT_EQ(component_.security_group(), u"");
  EXPECT_EQ(component_.report_code(), None_rc);
  EXPECT_EQ(component_.server_name(), u"");
  EXPECT_EQ(component_.meta_id(), u"");
  EXPECT_EQ(component_.authorized_role(), u"");
  EXPECT_EQ(component_.row_version(), u"");
  EXPECT_EQ(component_.soft_lock(), u"");
  EXPECT_EQ(component_.key(), u"");
  EXPECT_FALSE(component_.changed());
  EXPECT_FALSE(component_.locked());
  EXPECT_FALSE(component_.initialized());
}

TEST_F(NewComponent, HasNoReports) { EXPECT_EQ(component_.reports(), Variant(Empty{})); }

TEST_F(NewComponent, HasAKeyOnceItHasAnId) {
  set_.comp_id(0);
  EXPECT_EQ(component_.key(), u"C0");
  set_.comp_id(7);
  EXPECT_EQ(component_.key(), u"C7");
  set_.comp_id(32767);
  EXPECT_EQ(component_.key(), u"C32767");
  set_.comp_id(-2);
  EXPECT_EQ(component_.key(), u"");
}

TEST_F(NewComponent, IsInitializedWithAnIdAndAConnectionThoughClosed) {
  set_.comp_id(0);
  EXPECT_FALSE(component_.initialized());
  state_.connection = std::make_shared<ado::Connection>(ado::Engines{});
  EXPECT_TRUE(component_.initialized());
  set_.comp_id(-1);
  EXPECT_FALSE(component_.initialized());
}

TEST_F(NewComponent, IsChangedByEverySetterWhoseValueDiffers) {
  const auto changed_by = [&](auto setter) {
    Component component(state_);
    setter(test_support::ComponentSetters{component});
    return component.changed();
  };
  using Set = test_support::ComponentSetters;
  EXPECT_TRUE(changed_by([](Set s) { s.comp_id(1); }));
  EXPECT_TRUE(changed_by([](Set s) { s.name(u"n"); }));
  EXPECT_TRUE(changed_by([](Set s) { s.parent_id(1); }));
  EXPECT_TRUE(changed_by([](Set s) { s.priority(1); }));
  EXPECT_TRUE(changed_by([](Set s) { s.image_index(2); }));
  EXPECT_TRUE(changed_by([](Set s) { s.force_display(true); }));
  EXPECT_TRUE(changed_by([](Set s) { s.maintenance_type(Component_mt); }));
  EXPECT_TRUE(changed_by([](Set s) { s.security_group(u"g"); }));
  EXPECT_TRUE(changed_by([](Set s) { s.report_code(PCs_rc); }));
  EXPECT_TRUE(changed_by([](Set s) { s.server_name(u"s"); }));
  EXPECT_TRUE(changed_by([](Set s) { s.meta_id(u"m"); }));
  EXPECT_TRUE(changed_by([](Set s) { s.authorized_role(u"r"); }));
}

TEST_F(NewComponent, IsNotChangedByItsPresentValues) {
  set_.comp_id(-1);
  set_.name(u"");
  set_.parent_id(0);
  set_.priority(0);
  set_.image_index(1);
  set_.force_display(false);
  set_.maintenance_type(NotDefined_mt);
  set_.security_group(u"");
  set_.report_code(None_rc);
  set_.server_name(u"");
  set_.meta_id(u"");
  set_.authorized_role(u"");
  EXPECT_FALSE(component_.changed());
}

TEST_F(NewComponent, IsNeverChangedByItsRowVersion) {
  set_.row_version(u"00AB");
  EXPECT_EQ(component_.row_version(), u"00AB");
  EXPECT_FALSE(component_.changed());
}

TEST_F(NewComponent, KeepsItsMetaIdInUpperCase) {
  set_.meta_id(u"abc\u00E9");
  EXPECT_EQ(component_.meta_id(), u"ABC\u00C9");
}

TEST_F(NewComponent, AcceptsIdsOfAllOf16Bits) {
  set_.comp_id(32767);
  EXPECT_EQ(component_.comp_id(), 32767);
  set_.comp_id(-32768);
  EXPECT_EQ(component_.comp_id(), -32768);
}

}  // namespace
}  // namespace tarnwick
