#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pcs/registered_pcs.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ComponentPcs : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    test_support::ComponentSetters{component_}.comp_id(7);
  }

  void insert(const std::string& mac, int component) {
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('" +
        mac + "', 'PC', " + std::to_string(component) + ", 5, 1, 10)");
  }

  std::vector<Text> macs() {
    std::vector<Text> result;
    for (const auto& pc : *component_.pcs()) result.push_back(pc->mac_number());
    return result;
  }

  Component component_{state()};
};

TEST_F(ComponentPcs, AreThoseOfTheComponentInTheOrderOfTheirMacNumbers) {
  insert("CC", 7);
  insert("AA", 7);
  insert("DD", 8);
  insert("BB", 7);
  EXPECT_THAT(macs(), ElementsAre(u"AA", u"BB", u"CC"));
}

TEST_F(ComponentPcs, StandUnderTheirKeysAndAreTheObjectsOfTheRegister) {
  insert("AA", 7);
  const auto pcs = component_.pcs();
  const auto pc = pcs->at(u"AA\u00FEPC\u00FE7");
  EXPECT_EQ(pc, process_.server->registered_pcs()->item(std::int32_t{1}));
}

TEST_F(ComponentPcs, AreReadAnewEachTime) {
  insert("AA", 7);
  const auto first = component_.pcs();
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_PC Order By "
                          u"MACNbr",
                          u"Execute SET LOCK_TIMEOUT 2000"));
  insert("BB", 7);
  EXPECT_THAT(macs(), ElementsAre(u"AA", u"BB"));
  EXPECT_EQ(first->size(), 1u) << "an earlier view stays as it was";
  EXPECT_EQ(process_.server->registered_pcs()->count(), 2);
}

TEST_F(ComponentPcs, AreNoneForAComponentWithoutPcs) {
  insert("AA", 8);
  const auto pcs = component_.pcs();
  ASSERT_NE(pcs, nullptr);
  EXPECT_TRUE(pcs->empty());
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentPcs, AreThoseOfTheStoreWhereTheTableCannotBeRead) {
  insert("AA", 7);
  ASSERT_TRUE(process_.server->registered_pcs()->refresh());
  database_.run("DROP TABLE DW_SEC_PC");
  EXPECT_THAT(macs(), ElementsAre(u"AA"));
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."));
}

TEST_F(ComponentPcs, AreNoneWhenTheLoadStops) {
  database_.loosen("DW_SEC_PC");
  insert("AA", 7);
  insert("aa", 7);
  EXPECT_THAT(macs(), IsEmpty());
  EXPECT_EQ(number(), 457);
}

TEST_F(ComponentPcs, BringADroppedStoreBack) {
  insert("AA", 7);
  { const RegisteredPCs another(state()); }
  EXPECT_THAT(macs(), ElementsAre(u"AA"));
  EXPECT_EQ(process_.server->registered_pcs()->count(), 1);
}

TEST_F(ComponentPcs, AreNoneWithoutAStoreAndAConnection) {
  { const RegisteredPCs another(state()); }
  state().connection.reset();
  const auto pcs = component_.pcs();
  ASSERT_NE(pcs, nullptr);
  EXPECT_TRUE(pcs->empty());
}

}  // namespace
}  // namespace tarnwick
