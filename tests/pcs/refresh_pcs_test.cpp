#include "pcs/refresh_pcs.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "records/recordset_access.h"
#include "tests/support/connected_test.h"
#include "tests/support/registered_pc_setters.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;
using ::testing::ElementsAre;

class RefreshPc : public test_support::ConnectedTest {
 protected:
  bool load(TextView statement = u"Select * From DW_SEC_PC") {
    const auto rows = get_recordset(state(), statement, ado::LockType::kOptimistic);
    EXPECT_NE(rows, nullptr) << to_display_utf8(message());
    return refresh_pc(state(), rows.get(), &pc_);
  }

  /// Loads from a row made up of the columns' values, as SQL.
  bool load_values(const std::string& values) {
    database_.loosen("DW_SEC_PC");
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
        "  LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy,"
        "  DeactivateDate, SoftLock, RowVersion, SoftwareVersion) VALUES (" +
        values + ")");
    return load();
  }

  RegisteredPC pc_{state()};
};

TEST_F(RefreshPc, CopiesEveryColumn) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy,"
      "  DeactivateDate, SoftLock, SoftwareVersion) VALUES ('00-AA', 'PC1', 7, 2, 1, 3, 'anna',"
      "  45000.5, 70000, 'bert', 44000.25, 'carl', 44500.75, 'DESK-2 - 1/1/2024', '1.2')");
  ASSERT_TRUE(load());
  EXPECT_EQ(pc_.mac_number(), u"00-AA");
  EXPECT_EQ(pc_.computer_id(), u"PC1");
  EXPECT_EQ(pc_.comp_id(), 7);
  EXPECT_EQ(pc_.maintenance_type(), Component_mt);
  EXPECT_TRUE(pc_.active());
  EXPECT_EQ(pc_.image_index(), 3);
  EXPECT_EQ(pc_.last_user(), u"anna");
  EXPECT_EQ(pc_.last_login(), Date{45000.5});
  EXPECT_EQ(pc_.total_logins(), 70000);
  EXPECT_EQ(pc_.activated_by(), u"bert");
  EXPECT_EQ(pc_.activate_date(), Date{44000.25});
  EXPECT_EQ(pc_.deactivated_by(), u"carl");
  EXPECT_EQ(pc_.deactivated_date(), Date{44500.75});
  EXPECT_EQ(pc_.soft_lock(), u"DESK-2 - 1/1/2024");
  EXPECT_EQ(to_utf8(pc_.row_version()), database_.value("SELECT RowVersion FROM DW_SEC_PC"));
  EXPECT_EQ(pc_.software_version(), u"1.2");
  EXPECT_EQ(message(), u"");
}

TEST_F(RefreshPc, ClearsTheMarkOfAChange) {
  pc_.set_last_user(u"x");
  ASSERT_TRUE(load_values("'m', 'c', 7, 5, 0, 10, 'u', 1, 1, 'a', 1, 'd', 1, 's', NULL, 'v'"));
  EXPECT_FALSE(pc_.changed());
}

TEST_F(RefreshPc, PutsDefaultsInThePlaceOfNulls) {
  ASSERT_TRUE(load_values("'m', 'c', 7, 5, 0, 10, 'u', 1, 1, 'a', 1, 'd', 1, 's', x'01', 'v'"));
  ASSERT_TRUE(load_values(
      "'m', 'c', 7, 5, 0, 10, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL, NULL"));
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
}

TEST_F(RefreshPc, StopsAtANullInEachColumnWithoutADefault) {
  const char* const rows[] = {"NULL, 'c', 7, 5, 0, 10",   "'m', NULL, 7, 5, 0, 10",
                              "'m', 'c', NULL, 5, 0, 10", "'m', 'c', 7, NULL, 0, 10",
                              "'m', 'c', 7, 5, NULL, 10", "'m', 'c', 7, 5, 0, NULL"};
  for (const std::string row : rows) {
    state().errors.set_message({});
    EXPECT_FALSE(load_values(row + ", 'new', 1, 1, 'a', 1, 'd', 1, 's', NULL, 'v'")) << row;
    EXPECT_EQ(message(), account(u"General", u"RefreshPC", 94, u"Invalid use of Null")) << row;
    EXPECT_EQ(pc_.last_user(), u"") << row;
  }
}

TEST_F(RefreshPc, KeepsTheColumnsBeforeTheOneThatFailsAndStaysChanged) {
  EXPECT_FALSE(load_values("'m', 'c', 7, 5, 1, NULL, 'u', 1, 1, 'a', 1, 'd', 1, 's', NULL, 'v'"));
  EXPECT_EQ(pc_.key(), u"m\u00FEc\u00FE7");
  EXPECT_TRUE(pc_.active());
  EXPECT_EQ(pc_.last_user(), u"");
  EXPECT_TRUE(pc_.changed());
}

TEST_F(RefreshPc, StopsAtNumbersOutOfRange) {
  EXPECT_FALSE(load_values("'m', 'c', 32768, 5, 1, 10, 'u', 1, 1, 'a', 1, 'd', 1, 's', NULL, 'v'"));
  EXPECT_EQ(message(), account(u"General", u"RefreshPC", 6, u"Overflow"));
  EXPECT_FALSE(
      load_values("'m', 'c', 7, 5, 1, 10, 'u', 1, 3000000000, 'a', 1, 'd', 1, 's', NULL, 'v'"));
  EXPECT_EQ(number(), 6);
}

TEST_F(RefreshPc, StopsAtAMissingColumn) {
  database_.loosen("DW_SEC_PC");
  database_.run("INSERT INTO DW_SEC_PC (MACNbr, ComputerID) VALUES ('m', 'c')");
  EXPECT_FALSE(load(u"Select MACNbr, ComputerID From DW_SEC_PC"));
  EXPECT_EQ(message(), account(u"General", u"RefreshPC", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
  EXPECT_EQ(pc_.computer_id(), u"c");
}

TEST_F(RefreshPc, RefusesAMissingRecordsetBeforeAMissingPc) {
  EXPECT_FALSE(refresh_pc(state(), nullptr, nullptr));
  EXPECT_EQ(message(),
            raised(u"Invalid recordset passed to RefreshPC routine!", u"General", u"RefreshPC"));
  ado::Recordset rows;
  EXPECT_FALSE(refresh_pc(state(), &rows, nullptr));
  EXPECT_EQ(message(),
            raised(u"Invalid PC passed to RefreshPC routine!", u"General", u"RefreshPC"));
}

class RefreshPcs : public test_support::ConnectedTest {
 protected:
  std::vector<Text> keys() {
    std::vector<Text> result;
    for (const auto& pc : *state().registered_pcs) result.push_back(pc->key());
    return result;
  }
};

TEST_F(RefreshPcs, LoadsInTheOrderOfTheMacNumbers) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
      "  VALUES ('b', 'x', 1, 5, 1, 10), ('C', 'x', 1, 5, 1, 10), ('A', 'x', 2, 5, 1, 10)");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_THAT(keys(), ElementsAre(u"A\u00FEx\u00FE2", u"b\u00FEx\u00FE1", u"C\u00FEx\u00FE1"));
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_PC Order By "
                          u"MACNbr",
                          u"Execute SET LOCK_TIMEOUT 2000"));
}

TEST_F(RefreshPcs, LeavesTheStoreAsItIsWhenTheTableCannotBeRead) {
  const auto before = state().registered_pcs;
  database_.run("DROP TABLE DW_SEC_PC");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_EQ(state().registered_pcs, before);
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."));
}

TEST_F(RefreshPcs, StopsAtKeysThatDifferOnlyInCase) {
  database_.loosen("DW_SEC_PC");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus,"
      "  ImageIndex) VALUES ('AA', 'PC', 1, 5, 1, 10), ('aa', 'pc', 1, 5, 1, 10)");
  EXPECT_FALSE(refresh_pcs(state()));
  EXPECT_THAT(keys(), ElementsAre(u"AA\u00FEPC\u00FE1"));
  EXPECT_EQ(message(),
            u"\r\nError in Component: 'Tarnwick', Proceedure: 'General.RefreshPCs'."
            u"\r\nField :     \t"
            u"\r\nRegPCMacNbr:\t"
            u"\r\nError #:    \t457"
            u"\r\nDescription:\tThis key is already associated with an element of this collection");
  EXPECT_EQ(number(), 457);
}

TEST_F(RefreshPcs, ListsARowWhoseLoadFailedUnderWhatItGot) {
  database_.loosen("DW_SEC_PC");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus,"
      "  ImageIndex) VALUES (NULL, 'PC', 1, 5, 1, 10), ('aa', 'pc', NULL, 5, 1, 10)");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_THAT(keys(), ElementsAre(u"\u00FE\u00FE-1", u"aa\u00FEpc\u00FE-1"));
  const Text null = account(u"General", u"RefreshPC", 94, u"Invalid use of Null");
  EXPECT_EQ(message(), join({null, null}));
}

TEST_F(RefreshPcs, ReadsBytesInAColumnOfTextsAsTheirText) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  LastUser) VALUES ('aa', 'pc', 1, 5, 1, 10, x'41004200')");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_EQ(state().registered_pcs->at(1)->last_user(), u"AB");
  EXPECT_EQ(message(), u"");
}

TEST_F(RefreshPcs, ListsARowWhoseNumberIsAText) {
  database_.loosen("DW_SEC_PC");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  TotalLogins, LastUser) VALUES ('aa', 'pc', 1, 5, 1, 10, 'many', 'anna')");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_EQ(state().registered_pcs->at(1)->last_user(), u"anna");
  EXPECT_EQ(message(), account(u"General", u"RefreshPC", 13, u"Type mismatch"));
}

TEST_F(RefreshPcs, ListsTheRowsOfATableThatLacksAColumn) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
      "  VALUES ('aa', 'pc', 1, 5, 1, 10)");
  database_.run("ALTER TABLE DW_SEC_PC DROP COLUMN SoftwareVersion");
  EXPECT_TRUE(refresh_pcs(state()));
  EXPECT_THAT(keys(), ElementsAre(u"aa\u00FEpc\u00FE1"));
  EXPECT_EQ(message(), account(u"General", u"RefreshPC", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
}

TEST_F(RefreshPcs, StopsAtTheSecondNullMacNumber) {
  database_.loosen("DW_SEC_PC");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus,"
      "  ImageIndex) VALUES (NULL, 'PC', 1, 5, 1, 10), (NULL, 'pc2', 2, 5, 1, 10)");
  EXPECT_FALSE(refresh_pcs(state()));
  EXPECT_THAT(keys(), ElementsAre(u"\u00FE\u00FE-1"));
  EXPECT_EQ(number(), 94);
  EXPECT_NE(message().find(u"Proceedure: 'General.RefreshPCs'."), Text::npos);
  EXPECT_NE(message().find(u"\t457\r\n"), Text::npos);
}

}  // namespace
}  // namespace tarnwick
