#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::ServerProcess;
using ::testing::ElementsAre;

/// Records of all three kinds that go while they hold their rows.
class VanishingRecord : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2);"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('AA', 'PC', 1, 5, 1, 10);"
        "INSERT INTO DW_Reports (ReportName) VALUES ('Sales');");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    ASSERT_TRUE(other_.connect());
    ASSERT_TRUE(process_.server->refresh());
    ASSERT_TRUE(other_.server->refresh());
    process_.set_lock_timeout(0);
    other_.set_lock_timeout(0);
    (void)process_.trace();
  }

  std::shared_ptr<Component> component() {
    return process_.server->components()->item(std::int32_t{1});
  }
  std::shared_ptr<RegisteredPC> pc() {
    return process_.server->registered_pcs()->item(std::int32_t{1});
  }
  std::shared_ptr<Report> report() { return process_.server->reports()->item(std::int32_t{1}); }

  bool others_get_all() {
    return take(*other_.server->components()->item(std::int32_t{1})) &&
           take(*other_.server->registered_pcs()->item(std::int32_t{1})) &&
           take(*other_.server->reports()->item(std::int32_t{1}));
  }
  template <class Record>
  static bool take(Record& record) {
    return record.lock_record() && record.release_record();
  }

  ServerProcess other_{database_};
};

TEST_F(VanishingRecord, GivesItsRowBackWhenItsLastHolderGoes) {
  auto held = component();
  ASSERT_TRUE(held->lock_record());
  state().components = std::make_shared<Store<Component>>();
  (void)process_.trace();
  held.reset();
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_TRUE(others_get_all());
}

TEST_F(VanishingRecord, GivesItsRowBackWhenAReloadDropsIt) {
  ASSERT_TRUE(pc()->lock_record());
  (void)process_.trace();
  ASSERT_TRUE(process_.server->registered_pcs()->refresh());
  EXPECT_EQ(process_.trace().back(), u"Rollback");
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_TRUE(others_get_all());
}

TEST_F(VanishingRecord, KeepsItsRowOverAReloadWhileAClientHoldsIt) {
  const auto held = report();
  ASSERT_TRUE(held->lock_record());
  ASSERT_TRUE(process_.server->reports()->refresh());
  EXPECT_TRUE(held->locked());
  EXPECT_NE(report(), held);
  held->set_title(u"New");
  EXPECT_EQ(held->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports"), "New");
}

TEST_F(VanishingRecord, GivesItsRowBackWithTheLastServer) {
  ASSERT_TRUE(report()->lock_record());
  (void)process_.trace();
  process_.server.reset();
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback", u"Disconnect"));
  EXPECT_TRUE(others_get_all());
}

TEST_F(VanishingRecord, HeldByAClientOutlivesTheLastServerAndStillWrites) {
  const auto held = component();
  ASSERT_TRUE(held->lock_record());
  test_support::ComponentSetters{*held}.name(u"Late");
  process_.server.reset();
  EXPECT_TRUE(held->locked());
  EXPECT_EQ(held->update(), OK_ue);
  EXPECT_EQ(database_.value("SELECT CompName FROM DW_SEC_COMP"), "Late");
}

TEST_F(VanishingRecord, HeldByAClientAfterTheLastServerCannotBeLockedAnew) {
  const auto held = component();
  process_.server.reset();
  EXPECT_FALSE(held->lock_record());
  EXPECT_FALSE(held->initialized());
  EXPECT_EQ(message(), test_support::account(u"General", u"UpdateRead", 91,
                                             u"Object variable or With block variable not set"));
  EXPECT_EQ(held->update(), Error_ue);
  EXPECT_FALSE(held->remove());
}

TEST_F(VanishingRecord, ThatWasNeverFoundBlocksNobody) {
  auto absent = std::make_shared<Component>(state());
  test_support::ComponentSetters{*absent}.comp_id(99);
  ASSERT_FALSE(absent->lock_record());
  EXPECT_TRUE(others_get_all());
  EXPECT_TRUE(component()->lock_record()) << "nor this process";
  absent.reset();
  EXPECT_TRUE(component()->locked());
  EXPECT_TRUE(state().connection->in_transaction());
}

TEST_F(VanishingRecord, IsRefusedWhileAnotherOfTheProcessIsLocked) {
  ASSERT_TRUE(component()->lock_record());
  EXPECT_FALSE(report()->lock_record());
  EXPECT_EQ(message(), test_support::account(u"General", u"UpdateRead", -2147168237,
                                             u"Only one transaction can be active on this "
                                             u"session."));
  EXPECT_TRUE(component()->locked());
  EXPECT_TRUE(component()->release_record());
  EXPECT_TRUE(report()->lock_record());
}

TEST_F(VanishingRecord, LockedByOneServerObjectIsLockedForTheOtherOfTheProcess) {
  Server second(state());
  ASSERT_TRUE(second.refresh());
  const auto held = second.reports()->item(std::int32_t{1});
  ASSERT_TRUE(held->lock_record());
  ASSERT_TRUE(process_.server->components()->refresh()) << "reading goes on inside the transaction";
  EXPECT_TRUE(held->locked());
  EXPECT_EQ(held, report()) << "both see the one store";
}

TEST_F(VanishingRecord, ReadsItsOwnStampInsideItsTransaction) {
  const auto held = pc();
  ASSERT_TRUE(held->lock_record());
  ASSERT_TRUE(process_.server->registered_pcs()->refresh());
  EXPECT_EQ(pc()->soft_lock(), u"DESK-1 - 12/24/2023 6:05:09 PM");
  EXPECT_EQ(database_.value("SELECT SoftLock FROM DW_SEC_PC"), "NULL");
}

}  // namespace
}  // namespace tarnwick
