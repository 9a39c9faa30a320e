#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pcs/registered_pcs.h"
#include "tests/support/connected_test.h"
#include "tests/support/registered_pc_setters.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::account;
using test_support::locked_box;
using test_support::raised;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kKey = u"00-AA\u00FEPC1\u00FE7";
constexpr TextView kOpen =
    u"Open server dynamic pessimistic: Select * From DW_SEC_PC Where MACNbr = '00-AA' And "
    u"ComputerID = 'PC1' And CompID = 7";
constexpr TextView kLook =
    u"Open server forward-only read-only: Select * From DW_SEC_PC Where MACNbr = '00-AA' And "
    u"ComputerID = 'PC1' And CompID = 7";
constexpr TextView kUpdate =
    u"Update MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, LastUser, LastLogin, "
    u"TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy, DeactivateDate, SoftLock, "
    u"SoftwareVersion";
constexpr TextView kChanged =
    u"The data for '00-AA\u00FEPC1\u00FE7' has changed since it was originally read! Unable to "
    u"update!";

class PcMaintenance : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
        "  LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy,"
        "  DeactivateDate, SoftwareVersion) VALUES ('00-AA', 'PC1', 7, 5, 1, 3, 'anna', 45000.5,"
        "  41, 'bert', 44000.25, 'carl', 44500.75, '1.2')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    pc_ = load(process_);
  }

  /// The PC as `process` sees it, loaded, with an empty trace and no waiting for locks.
  static std::shared_ptr<RegisteredPC> load(ServerProcess& process) {
    EXPECT_TRUE(process.server->registered_pcs()->refresh());
    process.set_lock_timeout(0);
    (void)process.trace();
    return process.server->registered_pcs()->item(Text(kKey));
  }

  RegisteredPCs& register_() { return *process_.server->registered_pcs(); }
  std::string stored(const std::string& column) const {
    return database_.value("SELECT " + column + " FROM DW_SEC_PC");
  }

  std::shared_ptr<RegisteredPC> pc_;
};

class LockedPc : public PcMaintenance {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(PcMaintenance::SetUp());
    ASSERT_TRUE(other_.connect());
    theirs_ = load(other_);
    ASSERT_TRUE(theirs_->lock_record());
  }

  ServerProcess other_{database_};
  std::shared_ptr<RegisteredPC> theirs_;
};

TEST_F(PcMaintenance, RefreshLoadsTheFirstRowOfTheTable) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
      "  LastUser) VALUES ('00-00', 'PC0', 1, 5, 0, 10, 'zoe')");
  pc_->set_last_user(u"mine");
  EXPECT_TRUE(pc_->refresh());
  EXPECT_EQ(pc_->key(), u"00-00\u00FEPC0\u00FE1");
  EXPECT_EQ(pc_->last_user(), u"zoe");
  EXPECT_FALSE(pc_->changed());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_PC Order By "
                          u"MACNbr",
                          u"Execute SET LOCK_TIMEOUT 2000"));
}

TEST_F(PcMaintenance, RefreshFailsOnAnEmptyTable) {
  database_.run("DELETE FROM DW_SEC_PC");
  EXPECT_FALSE(pc_->refresh());
  EXPECT_EQ(message(), account(u"RegisteredPC", u"Refresh", 3021,
                               u"Either BOF or EOF is True, or the current record has been "
                               u"deleted. Requested operation requires a current record."));
  EXPECT_EQ(pc_->last_user(), u"anna");
}

TEST_F(PcMaintenance, RefreshFailsWithoutATable) {
  database_.run("DROP TABLE DW_SEC_PC");
  EXPECT_FALSE(pc_->refresh());
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."));
  EXPECT_EQ(message().find(u"'RegisteredPC'"), Text::npos);
}

TEST_F(PcMaintenance, LockRecordStampsAndReloads) {
  database_.run("UPDATE DW_SEC_PC SET LastUser = 'newer'");
  pc_->set_last_user(u"mine");
  EXPECT_TRUE(pc_->lock_record());
  EXPECT_TRUE(pc_->locked());
  EXPECT_EQ(pc_->last_user(), u"newer");
  EXPECT_EQ(pc_->soft_lock(), u"DESK-1 - 12/24/2023 6:05:09 PM");
  EXPECT_FALSE(pc_->changed());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Update SoftLock"));
}

TEST_F(PcMaintenance, LockRecordOfALockedPcReadsNothing) {
  ASSERT_TRUE(pc_->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(pc_->lock_record());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(PcMaintenance, LockRecordFailsForAMissingRow) {
  database_.run("DELETE FROM DW_SEC_PC");
  EXPECT_FALSE(pc_->lock_record());
  EXPECT_FALSE(pc_->locked());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", kOpen, u"Rollback", kLook, u"Begin", kOpen, u"Rollback"));
  EXPECT_EQ(message(),
            join({u"No Record found for ID: ", kKey,
                  u" SQL=Select * From DW_SEC_PC Where MACNbr = '00-AA' And ComputerID = 'PC1' "
                  u"And CompID = 7",
                  account(u"General", u"RefreshPC", 3021,
                          u"Either BOF or EOF is True, or the current record has been deleted. "
                          u"Requested operation requires a current record.")}));
}

TEST_F(PcMaintenance, LockRecordFailsForARowThatCannotBeLoaded) {
  database_.loosen("DW_SEC_PC", "PRIMARY KEY (MACNbr, ComputerID, CompID)");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType) VALUES ('00-AA', 'PC1', 7,"
      "  5)");
  EXPECT_FALSE(pc_->lock_record());
  EXPECT_FALSE(pc_->locked());
  EXPECT_EQ(message(), account(u"General", u"RefreshPC", 94, u"Invalid use of Null"));
  EXPECT_EQ(process_.trace().back(), u"Rollback");
  EXPECT_FALSE(pc_->lock_record()) << "and does not block itself";
}

TEST_F(PcMaintenance, LockRecordRefusesASeparatorInsideThePartsOfItsKey) {
  RegisteredPC pc(state());
  pc.set_mac_number(u"00\u00FEAA");
  pc.set_computer_id(u"PC1");
  pc.set_comp_id(7);
  EXPECT_FALSE(pc.lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 13, u"Type mismatch"));
}

TEST_F(PcMaintenance, ReleaseRecordGivesTheRowBack) {
  ASSERT_TRUE(pc_->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(pc_->release_record());
  EXPECT_FALSE(pc_->locked());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(stored("SoftLock"), "NULL");
}

TEST_F(PcMaintenance, ReleaseRecordOfAnUnlockedPcIsTrue) {
  EXPECT_TRUE(pc_->release_record());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(PcMaintenance, UpdateWritesItsColumnsAndCommits) {
  pc_->set_maintenance_type(Component_mt);
  pc_->set_active(false);
  pc_->set_image_index(4);
  pc_->set_last_user(u"dora");
  pc_->set_last_login(Date{45100.5});
  pc_->set_total_logins(42);
  pc_->set_activated_by(u"emil");
  pc_->set_activate_date(Date{45101.0});
  pc_->set_deactivated_by(u"fred");
  pc_->set_deactivated_date(Date{45102.0});
  pc_->set_software_version(u"2.0");
  state().errors.set_message(u"older");
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", kOpen, u"Update SoftLock", kUpdate, u"Commit"));
  EXPECT_THAT(
      database_.run("SELECT MaintType, ActiveStatus, ImageIndex, LastUser, LastLogin, TotalLogins,"
                    "  ActivatedBy, ActivateDate, DeactivatedBy, DeactivateDate, SoftLock,"
                    "  SoftwareVersion FROM DW_SEC_PC"),
      ElementsAre(ElementsAre("2", "0", "4", "dora", "45100.5", "42", "emil", "45101.0", "fred",
                              "45102.0", "", "2.0")));
  EXPECT_FALSE(pc_->changed());
  EXPECT_FALSE(pc_->locked());
  EXPECT_EQ(message(), u"");
}

TEST_F(PcMaintenance, UpdateNeverClearsADateByAZeroDate) {
  pc_->set_last_login(Date{});
  pc_->set_activate_date(Date{});
  pc_->set_deactivated_date(Date{});
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_THAT(process_.trace()[3],
              u"Update MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, LastUser, "
              u"TotalLogins, ActivatedBy, DeactivatedBy, SoftLock, SoftwareVersion");
  EXPECT_THAT(database_.run("SELECT LastLogin, ActivateDate, DeactivateDate FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("45000.5", "44000.25", "44500.75")));
}

TEST_F(PcMaintenance, UpdateWritesImage0AsImage10) {
  pc_->set_image_index(0);
  ASSERT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(stored("ImageIndex"), "10");
  EXPECT_EQ(pc_->image_index(), 10);
}

TEST_F(PcMaintenance, UpdateOfALockedPcOpensNoSecondTransaction) {
  ASSERT_TRUE(pc_->lock_record());
  (void)process_.trace();
  pc_->set_total_logins(pc_->total_logins() + 1);
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(kUpdate, u"Commit"));
  EXPECT_EQ(stored("TotalLogins"), "42");
}

TEST_F(PcMaintenance, UpdateInsertsAMissingRow) {
  database_.run("DELETE FROM DW_SEC_PC");
  pc_->set_last_login(Date{});
  pc_->set_activate_date(Date{});
  pc_->set_deactivated_date(Date{});
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", kOpen, u"Rollback", kLook, u"Begin", kOpen,
                          u"Insert MACNbr, ComputerID, CompID, MaintType, ActiveStatus, "
                          u"ImageIndex, LastUser, TotalLogins, ActivatedBy, DeactivatedBy, "
                          u"SoftLock, SoftwareVersion",
                          u"Commit"));
  EXPECT_THAT(database_.run("SELECT MACNbr, ComputerID, CompID, LastUser, LastLogin, SoftLock"
                            "  FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("00-AA", "PC1", "7", "anna", "NULL", "")));
  EXPECT_TRUE(message().starts_with(u"No Record found for ID: 00-AA\u00FEPC1\u00FE7 SQL="));
  EXPECT_EQ(number(), 0);
}

TEST_F(PcMaintenance, UpdateMissesEachPartOfTheKey) {
  const auto refused = [&](TextView mac, TextView computer, std::int16_t component) {
    RegisteredPC pc(state());
    pc.set_mac_number(Text(mac));
    pc.set_computer_id(Text(computer));
    pc.set_comp_id(component);
    const UpdateErrorEnum result = pc.update();
    EXPECT_EQ(message(),
              raised(u"No MAC Number, ComputerID or ComponentID provided for updating the PC!",
                     u"RegisteredPC", u"Update"));
    return result;
  };
  EXPECT_EQ(refused(u"", u"PC1", 7), MissRequiredField_ue);
  EXPECT_EQ(refused(u"00-AA", u"", 7), MissRequiredField_ue);
  EXPECT_EQ(refused(u"00-AA", u"PC1", -1), MissRequiredField_ue);
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(PcMaintenance, UpdateRefusesARowThatChangedSinceItWasRead) {
  database_.run("UPDATE DW_SEC_PC SET LastUser = 'theirs'");
  pc_->set_last_user(u"mine");
  EXPECT_EQ(pc_->update(), RecordChanged_ue);
  EXPECT_EQ(message(), raised(kChanged, u"RegisteredPC", u"Update"));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Update SoftLock"));
  EXPECT_TRUE(pc_->locked()) << "the row stays with the PC";
  EXPECT_TRUE(pc_->changed());
  EXPECT_TRUE(pc_->release_record());
  EXPECT_EQ(stored("LastUser"), "theirs");
}

TEST_F(PcMaintenance, UpdateRefusesItsOwnSecondWriteWithoutALoadBetween) {
  const Text version = pc_->row_version();
  ASSERT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(pc_->row_version(), version);
  EXPECT_EQ(pc_->update(), RecordChanged_ue);
}

TEST_F(PcMaintenance, UpdateOfAnAddedPcOverwritesTheRowWithoutAComparison) {
  RegisteredPCs another(state());
  const auto added = another.add({.mac_number = u"00-AA",
                                  .comp_id = 7,
                                  .computer_id = u"PC1",
                                  .activated_by = u"gina",
                                  .activate_date = Date{45200.0},
                                  .last_user = u"hugo"});
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->update(), OK_ue);
  EXPECT_THAT(database_.run("SELECT LastUser, LastLogin, ActivatedBy FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("hugo", "45000.5", "gina")));
}

TEST_F(PcMaintenance, UpdateAfterAChangeOfKeyWritesTheNewRowAndDeletesTheOld) {
  pc_->set_mac_number(u"00-BB");
  pc_->set_comp_id(8);
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(),
            u"Execute Delete from DW_Sec_PC Where MACNbr = '00-AA' AND ComputerID = 'PC1' AND "
            u"CompID = 7");
  EXPECT_THAT(database_.run("SELECT MACNbr, ComputerID, CompID, LastUser FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("00-BB", "PC1", "8", "anna")));
}

TEST_F(PcMaintenance, UpdateOnceMoreAfterAChangeOfKeyDeletesTheOldRowAgain) {
  pc_->set_computer_id(u"PC2");
  ASSERT_EQ(pc_->update(), OK_ue);
  test_support::RegisteredPCSetters{*pc_}.row_version({});
  ASSERT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(),
            u"Execute Delete from DW_Sec_PC Where MACNbr = '00-AA' AND ComputerID = 'PC1' AND "
            u"CompID = 7");
}

TEST_F(PcMaintenance, UpdateAfterAChangeOfCaseAloneDeletesNothing) {
  pc_->set_mac_number(u"00-aa");
  pc_->set_computer_id(u"pc1");
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Commit");
  EXPECT_THAT(database_.run("SELECT MACNbr, ComputerID FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("00-aa", "pc1")));
}

TEST_F(PcMaintenance, UpdateAfterAChangeOfTheCaseOfAccentedLettersStaysOneRow) {
  database_.run("UPDATE DW_SEC_PC SET MACNbr = 'É-1', ComputerID = 'BÜRO'");
  EXPECT_TRUE(register_().refresh());
  const auto pc = register_().item(Text(u"É-1\u00FEBÜRO\u00FE7"));
  pc->set_mac_number(u"é-1");
  pc->set_computer_id(u"Büro");
  EXPECT_EQ(pc->update(), OK_ue) << to_display_utf8(message());
  EXPECT_THAT(database_.run("SELECT MACNbr, ComputerID, LastUser FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("é-1", "Büro", "anna")));
  EXPECT_TRUE(register_().refresh()) << to_display_utf8(message());
  EXPECT_EQ(register_().count(), 1);
}

TEST_F(PcMaintenance, UpdateAfterAKeyThatCameAndWentStillKnowsTheFirst) {
  pc_->set_mac_number(u"00-BB");
  pc_->set_mac_number(u"");
  pc_->set_mac_number(u"00-CC");
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(),
            u"Execute Delete from DW_Sec_PC Where MACNbr = '00-AA' AND ComputerID = 'PC1' AND "
            u"CompID = 7");
}

TEST_F(PcMaintenance, UpdateAfterAKeyThatCameBackDeletesNothing) {
  pc_->set_mac_number(u"00-BB");
  pc_->set_mac_number(u"00-AA");
  EXPECT_EQ(pc_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Commit");
}

TEST_F(PcMaintenance, UpdateOfANewPcKnowsItsFirstValuesThatAreNotEmpty) {
  RegisteredPC pc(state());
  pc.set_mac_number(u"");
  pc.set_mac_number(u"00-CC");
  pc.set_computer_id(u"PC3");
  pc.set_comp_id(-1);
  pc.set_comp_id(9);
  EXPECT_EQ(pc.update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Commit") << "nothing is deleted under the loaded key";
  pc.set_comp_id(10);
  EXPECT_EQ(pc.update(), OK_ue);
  EXPECT_EQ(process_.trace().back(),
            u"Execute Delete from DW_Sec_PC Where MACNbr = '00-CC' AND ComputerID = 'PC3' AND "
            u"CompID = 9");
}

TEST_F(PcMaintenance, UpdateWithAQuoteInTheKeyIsAMalformedStatement) {
  RegisteredPC pc(state());
  pc.set_mac_number(u"00'AA");
  pc.set_computer_id(u"PC1");
  pc.set_comp_id(7);
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(pc.update(), Error_ue);
  EXPECT_TRUE(message().starts_with(
      u"Error Opening Recordset! SQL=Select * From DW_SEC_PC Where MACNbr = '00'AA' And "
      u"ComputerID = 'PC1' And CompID = 7\r\nError in Component: 'General', Proceedure: "
      u"'UpdateRead'."));
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "1");
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(PcMaintenance, UpdateRefusedAtTheCommitEndsWithBothLines) {
  test_support::PlainSqlite foreign = database_.open_plainly();
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") foreign.run("BEGIN IMMEDIATE");
  };
  EXPECT_EQ(pc_->update(), Error_ue);
  EXPECT_EQ(message(), raised(join({u"Unable to update, record is locked!\r\n"
                                    u"Unable to update the PC '",
                                    kKey, u"' in the DW_Sec_PC table!"}),
                              u"RegisteredPC", u"Update"));
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Begin", kOpen, u"Update SoftLock", kUpdate, u"Commit",
                  u"Failed -2147467259 1222: Lock request time out period exceeded.", u"Rollback"));
  EXPECT_TRUE(pc_->locked());
  (void)process_.trace();
  EXPECT_TRUE(pc_->release_record());
  EXPECT_THAT(process_.trace(), IsEmpty()) << "the transaction is gone already";
}

TEST_F(PcMaintenance, UpdateThatCannotDeleteTheOldRowHasWrittenTheNewOne) {
  database_.run(
      "CREATE TRIGGER Refuse BEFORE DELETE ON DW_SEC_PC BEGIN SELECT RAISE(ABORT, 'kept'); END");
  pc_->set_comp_id(8);
  EXPECT_EQ(pc_->update(), Error_ue);
  EXPECT_TRUE(message().find(u"\r\nError in Component: 'RegisteredPC', Proceedure: 'Update'.") !=
              Text::npos);
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "2");
  EXPECT_TRUE(pc_->locked());
  EXPECT_TRUE(pc_->release_record());
}

TEST_F(PcMaintenance, DeleteRemovesTheRowAndTheEntry) {
  EXPECT_TRUE(pc_->remove());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Execute Delete from dbo.DW_Sec_PC Where MACNbr = '00-AA' and "
                          u"ComputerID = 'PC1' and CompID = 7"));
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "0");
  EXPECT_EQ(register_().count(), 0);
  EXPECT_EQ(message(), u"");
}

TEST_F(PcMaintenance, DeleteReleasesTheRowFirstWhereItIsLocked) {
  ASSERT_TRUE(pc_->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(pc_->remove());
  EXPECT_EQ(process_.trace().front(), u"Rollback");
  EXPECT_FALSE(pc_->locked());
}

TEST_F(PcMaintenance, DeleteWithoutAWholeKeyDoesNothingAndIsTrue) {
  const Text computer_id = pc_->computer_id();
  pc_->set_computer_id(u"");
  EXPECT_TRUE(pc_->remove());
  pc_->set_computer_id(computer_id);
  pc_->set_comp_id(-1);
  EXPECT_TRUE(pc_->remove());
  pc_->set_comp_id(7);
  pc_->set_mac_number(u"");
  EXPECT_TRUE(pc_->remove());
  EXPECT_TRUE(RegisteredPC(state()).remove());
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "1");
}

TEST_F(PcMaintenance, DeleteAfterAChangeOfKeyFindsNoEntry) {
  pc_->set_comp_id(8);
  database_.run("UPDATE DW_SEC_PC SET CompID = 8");
  EXPECT_FALSE(pc_->remove());
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_PC"), "0") << "the row is gone";
  EXPECT_EQ(register_().count(), 1) << "the entry is not";
  EXPECT_EQ(message(), u"");
}

TEST_F(PcMaintenance, DeleteFailsSilentlyWithoutAConnection) {
  state().connection.reset();
  EXPECT_FALSE(pc_->remove());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
  EXPECT_EQ(register_().count(), 1);
}

TEST_F(LockedPc, IsNotLockedOnCancel) {
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_FALSE(pc_->lock_record());
  EXPECT_FALSE(pc_->locked());
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook));
}

TEST_F(LockedPc, IsLockedOnRetryAfterTheOtherWrote) {
  process_.host.box.will_answer(Answer::kRetry);
  process_.host.box.will_answer(Answer::kRetry, [&] {
    theirs_->set_last_user(u"theirs");
    EXPECT_EQ(theirs_->update(), OK_ue);
  });
  EXPECT_TRUE(pc_->lock_record());
  EXPECT_EQ(pc_->last_user(), u"theirs");
  EXPECT_EQ(process_.host.box.questions.size(), 2u);
}

TEST_F(LockedPc, IsNotWrittenOnCancel) {
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(pc_->update(), Error_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook));
  EXPECT_FALSE(pc_->locked());
}

TEST_F(LockedPc, IsNotDeletedByAnother) {
  EXPECT_FALSE(pc_->remove());
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
  EXPECT_EQ(stored("LastUser"), "anna");
  EXPECT_EQ(register_().count(), 1);
}

}  // namespace
}  // namespace tarnwick
