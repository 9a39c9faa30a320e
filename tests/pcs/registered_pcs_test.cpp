#include "pcs/registered_pcs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using ::testing::IsEmpty;

constexpr TextView kDuplicate =
    u"This key is already associated with an element of this collection";
constexpr TextView kNotSet = u"Object variable or With block variable not set";

class RegisteredPcsStore : public test_support::ConnectedTest {
 protected:
  RegisteredPCs& pcs() { return *process_.server->registered_pcs(); }

  std::shared_ptr<RegisteredPC> add(TextView mac) {
    return pcs().add({.mac_number = mac,
                      .comp_id = 7,
                      .computer_id = u"PC1",
                      .activated_by = u"anna",
                      .activate_date = Date{45000.0}});
  }

  template <class Call>
  std::int32_t error_of(Call&& call) {
    try {
      (void)call();
    } catch (const Error& error) {
      return error.number();
    }
    return 0;
  }
};

TEST_F(RegisteredPcsStore, AddStoresEveryArgument) {
  const auto pc = pcs().add({.mac_number = u"AA",
                             .comp_id = 7,
                             .computer_id = u"PC1",
                             .activated_by = u"anna",
                             .activate_date = Date{45000.0},
                             .active = false,
                             .maintenance_type = Component_mt,
                             .image_index = 0,
                             .last_user = u"bert",
                             .last_login = Date{45001.5},
                             .total_logins = 70000,
                             .deactivated_by = u"carl",
                             .deactivated_date = Date{45002.0},
                             .soft_lock = u"lock",
                             .software_version = u"1.2"});
  ASSERT_NE(pc, nullptr);
  EXPECT_EQ(pc->key(), u"AA\u00FEPC1\u00FE7");
  EXPECT_EQ(pc->activated_by(), u"anna");
  EXPECT_EQ(pc->activate_date(), Date{45000.0});
  EXPECT_FALSE(pc->active());
  EXPECT_EQ(pc->maintenance_type(), Component_mt);
  EXPECT_EQ(pc->image_index(), 0);
  EXPECT_EQ(pc->last_user(), u"bert");
  EXPECT_EQ(pc->last_login(), Date{45001.5});
  EXPECT_EQ(pc->total_logins(), 70000);
  EXPECT_EQ(pc->deactivated_by(), u"carl");
  EXPECT_EQ(pc->deactivated_date(), Date{45002.0});
  EXPECT_EQ(pc->soft_lock(), u"lock");
  EXPECT_EQ(pc->software_version(), u"1.2");
  EXPECT_EQ(pc->row_version(), u"");
  EXPECT_TRUE(pc->changed());
  EXPECT_EQ(pcs().item(Text(u"AA\u00FEPC1\u00FE7")), pc);
  EXPECT_THAT(process_.trace(), IsEmpty()) << "nothing is written";
}

TEST_F(RegisteredPcsStore, AddFillsInWhatIsLeftOut) {
  const auto pc = add(u"AA");
  EXPECT_TRUE(pc->active());
  EXPECT_EQ(pc->maintenance_type(), PCReg_mt);
  EXPECT_EQ(pc->image_index(), 10) << "a negative image leaves that of a new PC";
  EXPECT_EQ(pc->last_user(), u"");
  EXPECT_EQ(pc->last_login(), Date{});
  EXPECT_EQ(pc->total_logins(), 0);
  EXPECT_EQ(pc->deactivated_by(), u"");
  EXPECT_EQ(pc->deactivated_date(), Date{});
  EXPECT_EQ(pc->soft_lock(), u"");
  EXPECT_EQ(pc->software_version(), u"");
}

TEST_F(RegisteredPcsStore, IsChangedAfterAdd) {
  EXPECT_FALSE(pcs().changed());
  add(u"AA");
  EXPECT_TRUE(pcs().changed());
}

TEST_F(RegisteredPcsStore, IsNotChangedAfterALoad) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
      "  VALUES ('AA', 'PC1', 7, 5, 1, 10)");
  EXPECT_TRUE(pcs().refresh());
  EXPECT_EQ(pcs().count(), 1);
  EXPECT_FALSE(pcs().changed());
  pcs().item(std::int32_t{1})->set_last_user(u"anna");
  EXPECT_TRUE(pcs().changed());
}

class LoadedRegister : public RegisteredPcsStore {
 protected:
  void SetUp() override {
    RegisteredPcsStore::SetUp();
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
        "  LastUser, LastLogin, TotalLogins) VALUES"
        "  ('AA', 'PC1', 7, 5, 1, 10, 'J\xC3\xBCrgen', 45000.25, 3),"
        "  ('BB', 'PC2', 8, 4, 0, 11, NULL, NULL, NULL)");
    ASSERT_TRUE(pcs().refresh());
  }
};

TEST_F(LoadedRegister, HandsOutOneObjectForARowHoweverItIsAskedFor) {
  const auto pc = pcs().item(std::int32_t{2});
  EXPECT_EQ(pcs().item(Text(u"bb\u00FEpc2\u00FE8")), pc);
  auto entries = pcs().new_enum();
  const auto first = entries.next();
  EXPECT_EQ(entries.next(), pc);
  EXPECT_EQ(pcs().item(Text(u"AA\u00FEPC1\u00FE7")), first);
}

TEST_F(LoadedRegister, HasTheValuesOfTheRowsBeforeAndAfterAChange) {
  const auto expect_first = [](const RegisteredPC& pc) {
    EXPECT_EQ(pc.key(), u"AA\u00FEPC1\u00FE7");
    EXPECT_EQ(pc.maintenance_type(), PCReg_mt);
    EXPECT_TRUE(pc.active());
    EXPECT_EQ(pc.image_index(), 10);
    EXPECT_EQ(pc.last_user(), u"J\u00FCrgen");
    EXPECT_EQ(pc.last_login(), Date{45000.25});
    EXPECT_EQ(pc.activated_by(), u"");
    EXPECT_EQ(pc.activate_date(), Date{});
    EXPECT_EQ(pc.row_version().size(), 16u);
  };
  const auto pc = pcs().item(std::int32_t{1});
  expect_first(*pc);
  EXPECT_EQ(pc->total_logins(), 3);
  EXPECT_FALSE(pc->changed());
  const Text version = pc->row_version();
  pc->set_total_logins(3);
  EXPECT_FALSE(pc->changed()) << "it is the same number";
  pc->set_total_logins(4);
  EXPECT_TRUE(pc->changed());
  expect_first(*pc);
  EXPECT_EQ(pc->total_logins(), 4);
  EXPECT_EQ(pc->row_version(), version);

  const auto other = pcs().item(std::int32_t{2});
  EXPECT_EQ(other->last_user(), u"");
  EXPECT_TRUE(other->last_login().is_zero());
  EXPECT_EQ(other->total_logins(), 0);
}

TEST_F(LoadedRegister, LeavesItsRowToAPcThatOutlivesAReload) {
  const auto read = pcs().item(std::int32_t{1});
  const auto unread = pcs().item(std::int32_t{2});
  EXPECT_EQ(read->last_user(), u"J\u00FCrgen");
  const std::weak_ptr<const Store<RegisteredPC>> before = state().registered_pcs;
  database_.run("DELETE FROM DW_SEC_PC");
  ASSERT_TRUE(pcs().refresh());
  EXPECT_TRUE(before.expired());
  EXPECT_EQ(pcs().count(), 0);
  EXPECT_EQ(read->last_user(), u"J\u00FCrgen");
  EXPECT_EQ(unread->key(), u"BB\u00FEPC2\u00FE8");
  EXPECT_EQ(unread->image_index(), 11);
  EXPECT_FALSE(unread->changed());
}

TEST_F(LoadedRegister, KnowsTheKeyThatAMovedPcWasLoadedUnder) {
  const auto pc = pcs().item(std::int32_t{2});
  pc->set_computer_id(u"PC3");
  ASSERT_EQ(pc->update(), OK_ue);
  ASSERT_TRUE(pcs().refresh());
  EXPECT_TRUE(pcs().exists(u"BB\u00FEPC3\u00FE8"));
  EXPECT_FALSE(pcs().exists(u"BB\u00FEPC2\u00FE8"));
}

TEST_F(RegisteredPcsStore, AddRefusesAKeyThatIsThereInAnyLetterCase) {
  const auto first = add(u"aa");
  EXPECT_EQ(add(u"AA"), nullptr);
  EXPECT_EQ(message(), account(u"RegisteredPCs", u"Add", 457, kDuplicate));
  EXPECT_EQ(pcs().count(), 1);
  EXPECT_EQ(pcs().item(std::int32_t{1}), first);
}

TEST_F(RegisteredPcsStore, AddRecordsThatThereIsNoStore) {
  { const RegisteredPCs another(state()); }
  EXPECT_EQ(add(u"AA"), nullptr);
  EXPECT_EQ(message(), account(u"RegisteredPCs", u"Add", 91, kNotSet));
}

TEST_F(RegisteredPcsStore, AddPcObjectTakesAPcOnce) {
  const auto pc = std::make_shared<RegisteredPC>(state());
  pc->set_mac_number(u"AA");
  EXPECT_TRUE(pcs().add_pc_object(pc));
  EXPECT_EQ(pcs().item(std::int32_t{1}), pc);
  EXPECT_FALSE(pcs().add_pc_object(pc));
  EXPECT_EQ(message(),
            u"PC 'AA\u00FE\u00FE-1' is already on file. Unable to add to the PC collection!");
  EXPECT_EQ(number(), 0) << "nothing is raised";
  EXPECT_EQ(pcs().count(), 1);
}

TEST_F(RegisteredPcsStore, AddPcObjectRecordsThatThereIsNoPcOrNoStore) {
  EXPECT_FALSE(pcs().add_pc_object(nullptr));
  EXPECT_EQ(message(), account(u"RegisteredPCs", u"AddPCObject", 91, kNotSet));
  state().errors.set_message({});
  { const RegisteredPCs another(state()); }
  EXPECT_FALSE(pcs().add_pc_object(std::make_shared<RegisteredPC>(state())));
  EXPECT_EQ(message(), account(u"RegisteredPCs", u"AddPCObject", 91, kNotSet));
}

TEST_F(RegisteredPcsStore, ExistsInAnyLetterCase) {
  add(u"aa");
  EXPECT_TRUE(pcs().exists(u"aa\u00FEPC1\u00FE7"));
  EXPECT_TRUE(pcs().exists(u"AA\u00FEpc1\u00FE7"));
  EXPECT_TRUE(pcs().exists(u"aa\u00DEPC1\u00DE7")) << "the separator is a letter and has a capital";
  EXPECT_FALSE(pcs().exists(u"aa\u00FEPC1\u00FE8"));
  EXPECT_FALSE(pcs().exists(u""));
  EXPECT_FALSE(pcs().exists(u"1"));
}

TEST_F(RegisteredPcsStore, ItemFailsForWhatIsNotThere) {
  add(u"AA");
  EXPECT_EQ(error_of([&] { return pcs().item(Text(u"BB")); }), 5);
  EXPECT_EQ(error_of([&] { return pcs().item(std::int32_t{0}); }), 9);
  EXPECT_EQ(error_of([&] { return pcs().item(std::int32_t{2}); }), 9);
  EXPECT_EQ(error_of([&] { return pcs().item(Empty{}); }), 13);
  EXPECT_EQ(message(), u"") << "passed to the caller, not recorded";
}

TEST_F(RegisteredPcsStore, FailsWithoutAStoreWhereItsMembersPassStraightToIt) {
  { const RegisteredPCs another(state()); }
  EXPECT_EQ(error_of([&] { return pcs().count(); }), 91);
  EXPECT_EQ(error_of([&] { return pcs().item(std::int32_t{1}); }), 91);
  EXPECT_EQ(error_of([&] { return pcs().new_enum(); }), 91);
  EXPECT_FALSE(pcs().exists(u"AA"));
  EXPECT_FALSE(pcs().changed());
  EXPECT_FALSE(pcs().initialized());
  EXPECT_EQ(message(), u"");
}

TEST_F(RegisteredPcsStore, IsEnumeratedInOrder) {
  const auto b = add(u"BB");
  const auto a = add(u"AA");
  StoreEnumerator<RegisteredPC> enumerator = pcs().new_enum();
  EXPECT_EQ(enumerator.next(), b);
  EXPECT_EQ(enumerator.next(), a);
  EXPECT_EQ(enumerator.next(), nullptr);
}

TEST_F(RegisteredPcsStore, LoadsAnEmptyTableToAnEmptyStore) {
  add(u"AA");
  EXPECT_TRUE(pcs().initialized());
  EXPECT_TRUE(pcs().refresh());
  EXPECT_EQ(pcs().count(), 0);
  EXPECT_FALSE(pcs().initialized());
  EXPECT_EQ(message(), u"");
}

TEST_F(RegisteredPcsStore, IsInitializedWithAnEntryAndAnOpenConnection) {
  add(u"AA");
  EXPECT_TRUE(pcs().initialized());
  state().connection->close();
  EXPECT_FALSE(pcs().initialized());
}

TEST_F(RegisteredPcsStore, IsEmptiedForAllByASecondOne) {
  add(u"AA");
  const RegisteredPCs second(state());
  EXPECT_EQ(pcs().count(), 0);
}

TEST_F(RegisteredPcsStore, GivesAFetchedPcUpButLeavesItValid) {
  const auto pc = add(u"AA");
  ASSERT_TRUE(pcs().refresh());
  EXPECT_EQ(pc->mac_number(), u"AA");
  EXPECT_FALSE(pcs().exists(pc->key()));
}

TEST_F(RegisteredPcsStore, TellsTheSharedErrorState) {
  add(u"AA");
  add(u"AA");
  EXPECT_EQ(pcs().last_error_msg(), message());
  EXPECT_EQ(pcs().last_error_number(), 457);
  EXPECT_EQ(RegisteredPC(state()).last_error_msg(), message());
  EXPECT_EQ(RegisteredPC(state()).last_error_number(), 457);
}

}  // namespace
}  // namespace tarnwick
