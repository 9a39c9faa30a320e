#include "pcs/registered_pc.h"

#include <gtest/gtest.h>

#include "tests/support/object_model.h"
#include "tests/support/registered_pc_setters.h"

namespace tarnwick {
namespace {

class NewRegisteredPc : public ::testing::Test {
 protected:
  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
  RegisteredPC pc_{state_};
};

TEST_F(NewRegisteredPc, HasItsDefaults) {
  EXPECT_EQ(pc_.mac_number(), u"");
  EXPECT_EQ(pc_.computer_id(), u"");
  EXPECT_EQ(pc_.comp_id(), -1);
  EXPECT_EQ(pc_.maintenance_type(), PCReg_mt);
  EXPECT_FALSE(pc_.active());
  EXPECT_EQ(pc_.image_index(), 10);
  EXPECT_EQ(pc_.last_user(), u"");
  EXPECT_EQ(pc_.last_login(), Date{});
  EXPECT_EQ(pc_.total_logins(), 0);
  EXPECT_EQ(pc_.activated_by(), u"");
  EXPECT_EQ(pc_.activate_date(), Date{});
  EXPECT_EQ(pc_.deactivated_by(), u"");
  EXPECT_EQ(pc_.deactivated_date(), Date{});
  EXPECT_EQ(pc_.soft_lock(), u"");
  EXPECT_EQ(pc_.row_version(), u"");
  EXPECT_EQ(pc_.software_version(), u"");
  EXPECT_FALSE(pc_.changed());
  EXPECT_FALSE(pc_.locked());
}

TEST_F(NewRegisteredPc, HasAKeyOfSeparatorsAndMinusOne) { EXPECT_EQ(pc_.key(), u"\u00FE\u00FE-1"); }

TEST_F(NewRegisteredPc, JoinsItsKeyOfThreeParts) {
  pc_.set_mac_number(u"00-AA");
  pc_.set_computer_id(u"PC1");
  pc_.set_comp_id(12);
  EXPECT_EQ(pc_.key(), u"00-AA\u00FEPC1\u00FE12");
}

TEST_F(NewRegisteredPc, IsInitializedWithAConnectionThoughClosed) {
  EXPECT_FALSE(pc_.initialized());
  state_.connection = std::make_shared<ado::Connection>(ado::Engines{});
  EXPECT_TRUE(pc_.initialized());
}

TEST_F(NewRegisteredPc, IsChangedByEverySetterWhoseValueDiffers) {
  const auto changed_by = [&](auto setter) {
    RegisteredPC pc(state_);
    setter(pc);
    return pc.changed();
  };
  using Pc = RegisteredPC&;
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_mac_number(u"m"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_computer_id(u"c"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_comp_id(1); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_maintenance_type(Component_mt); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_active(true); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_image_index(1); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_last_user(u"u"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_last_login(Date{1}); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_total_logins(1); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_activated_by(u"a"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_activate_date(Date{1}); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_deactivated_by(u"d"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_deactivated_date(Date{1}); }));
  EXPECT_TRUE(changed_by([](Pc pc) { pc.set_software_version(u"s"); }));
  EXPECT_TRUE(changed_by([](Pc pc) { test_support::RegisteredPCSetters{pc}.soft_lock(u"l"); }));
}

TEST_F(NewRegisteredPc, IsNotChangedByItsPresentValues) {
  pc_.set_mac_number(u"");
  pc_.set_computer_id(u"");
  pc_.set_comp_id(-1);
  pc_.set_maintenance_type(PCReg_mt);
  pc_.set_active(false);
  pc_.set_image_index(10);
  pc_.set_last_user(u"");
  pc_.set_last_login(Date{});
  pc_.set_total_logins(0);
  pc_.set_activated_by(u"");
  pc_.set_activate_date(Date{});
  pc_.set_deactivated_by(u"");
  pc_.set_deactivated_date(Date{});
  pc_.set_software_version(u"");
  test_support::RegisteredPCSetters{pc_}.soft_lock(u"");
  EXPECT_FALSE(pc_.changed());
}

TEST_F(NewRegisteredPc, ComparesTextsWithRegardToCase) {
  pc_.set_last_user(u"anna");
  test_support::RegisteredPCSetters{pc_}.clear_changed();
  pc_.set_last_user(u"anna");
  EXPECT_FALSE(pc_.changed());
  pc_.set_last_user(u"Anna");
  EXPECT_TRUE(pc_.changed());
  EXPECT_EQ(pc_.last_user(), u"Anna");
}

TEST_F(NewRegisteredPc, IsNeverChangedByItsRowVersion) {
  test_support::RegisteredPCSetters{pc_}.row_version(u"00AB");
  EXPECT_EQ(pc_.row_version(), u"00AB");
  EXPECT_FALSE(pc_.changed());
}

}  // namespace
}  // namespace tarnwick
