#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "components/components.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::account;
using test_support::locked_box;
using test_support::raised;
using test_support::ServerProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kOpen =
    u"Open server dynamic pessimistic: Select * From DW_SEC_COMP Where CompID = 7";
constexpr TextView kLook =
    u"Open server forward-only read-only: Select * From DW_SEC_COMP Where CompID = 7";
constexpr TextView kUpdate =
    u"Update CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay, MaintType, SecGrpID, "
    u"RptCode, Server, SoftLock";
constexpr TextView kInsert =
    u"Insert CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay, MaintType, SecGrpID, "
    u"RptCode, Server, SoftLock";
constexpr TextView kChanged =
    u"The data for component '7' has changed since it was originally read! Unable to update!";

class ComponentMaintenance : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay,"
        "  MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole)"
        "  VALUES (7, 'Desk', 3, 20, 4, 1, 3, 'Admins', 'PCA', 'SRV-1', 'meta-7', 'Keeper')");
    ASSERT_NO_FATAL_FAILURE(ConnectedTest::SetUp());
    component_ = load(process_);
  }

  /// Component 7 as `process` sees it, loaded, with an empty trace and no waiting for locks.
  static std::shared_ptr<Component> load(ServerProcess& process) {
    EXPECT_TRUE(process.server->components()->refresh());
    process.set_lock_timeout(0);
    (void)process.trace();
    return process.server->components()->item(Text(u"C7"));
  }

  test_support::ComponentSetters set() { return {*component_}; }
  std::string stored(const std::string& column) const {
    return database_.value("SELECT " + column + " FROM DW_SEC_COMP WHERE CompID = 7");
  }

  std::shared_ptr<Component> component_;
};

class LockedComponent : public ComponentMaintenance {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ComponentMaintenance::SetUp());
    ASSERT_TRUE(other_.connect());
    theirs_ = load(other_);
    ASSERT_TRUE(theirs_->lock_record());
  }

  ServerProcess other_{database_};
  std::shared_ptr<Component> theirs_;
};

TEST_F(ComponentMaintenance, RefreshFiltersBehindTheOrderAndFails) {
  EXPECT_FALSE(component_->refresh());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Open client static optimistic: Select * From  DW_SEC_COMP Order By "
                          u"CompID Where CompID = 7"));
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'GetRecordset'."
                            u"\r\nError #:    \t-2147217900\r\nDescription:\t"));
  EXPECT_EQ(message().find(u"'Component'"), Text::npos);
  EXPECT_EQ(component_->name(), u"Desk");
}

TEST_F(ComponentMaintenance, LockRecordStampsAndReloads) {
  database_.run("UPDATE DW_SEC_COMP SET CompName = 'Newer'");
  EXPECT_TRUE(component_->lock_record());
  EXPECT_TRUE(component_->locked());
  EXPECT_EQ(component_->name(), u"Newer");
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Update SoftLock"));
  EXPECT_EQ(message(), u"");
}

TEST_F(ComponentMaintenance, LockRecordOfALockedComponentReadsNothing) {
  ASSERT_TRUE(component_->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(component_->lock_record());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ComponentMaintenance, LockRecordFailsForAMissingRow) {
  database_.run("DELETE FROM DW_SEC_COMP");
  EXPECT_FALSE(component_->lock_record());
  EXPECT_FALSE(component_->locked());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", kOpen, u"Rollback", kLook, u"Begin", kOpen, u"Rollback"));
  EXPECT_EQ(message(),
            join({u"No Record found for ID: 7 SQL=Select * From DW_SEC_COMP Where CompID = 7",
                  account(u"General", u"RefreshComponent", 3021,
                          u"Either BOF or EOF is True, or the current record has been deleted. "
                          u"Requested operation requires a current record.")}));
}

TEST_F(ComponentMaintenance, LockRecordAfterAMissingRowBeginsAnew) {
  database_.run("DELETE FROM DW_SEC_COMP");
  ASSERT_FALSE(component_->lock_record());
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (7, 0, 2)");
  (void)process_.trace();
  EXPECT_TRUE(component_->lock_record());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Update SoftLock"));
}

TEST_F(ComponentMaintenance, LockRecordOfANewComponentFindsNoRow) {
  Component component(state());
  EXPECT_FALSE(component.lock_record());
  EXPECT_TRUE(message().starts_with(
      u"No Record found for ID: -1 SQL=Select * From DW_SEC_COMP Where CompID = -1"));
}

TEST_F(ComponentMaintenance, LockRecordRecordsWhatUpdateReadRecords) {
  state().connection->close();
  EXPECT_FALSE(component_->lock_record());
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 3704,
                               u"Operation is not allowed when the object is closed."));
}

TEST_F(ComponentMaintenance, ReleaseRecordGivesTheRowBack) {
  ASSERT_TRUE(component_->lock_record());
  (void)process_.trace();
  EXPECT_TRUE(component_->release_record());
  EXPECT_FALSE(component_->locked());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(stored("SoftLock"), "NULL");
}

TEST_F(ComponentMaintenance, ReleaseRecordOfAnUnlockedComponentIsTrue) {
  EXPECT_TRUE(component_->release_record());
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ComponentMaintenance, ReleaseRecordIgnoresErrors) {
  ASSERT_TRUE(component_->lock_record());
  state().connection->rollback_trans();
  state().errors.set_message(u"left");
  EXPECT_TRUE(component_->release_record());
  EXPECT_FALSE(component_->locked());
  EXPECT_EQ(message(), u"left");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentMaintenance, UpdateWritesItsColumnsAndCommits) {
  set().name(u"New");
  set().parent_id(5);
  set().priority(6);
  set().image_index(8);
  set().force_display(false);
  set().maintenance_type(Report_mt);
  set().security_group(u"G");
  set().report_code(CrystalRpts_rc);
  set().server_name(u"S");
  state().errors.set_message(u"older");
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", kOpen, u"Update SoftLock", kUpdate, u"Commit"));
  EXPECT_THAT(
      database_.run("SELECT CompName, ParentID, Priority, ImageIndex, ForceDisplay, MaintType,"
                    "  SecGrpID, RptCode, Server, SoftLock FROM DW_SEC_COMP"),
      ElementsAre(ElementsAre("New", "5", "6", "8", "0", "4", "G", "CRY", "S", "")));
  EXPECT_FALSE(component_->changed());
  EXPECT_FALSE(component_->locked());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentMaintenance, UpdateWritesNeitherMetaIdNorAuthorizedRole) {
  set().meta_id(u"other");
  set().authorized_role(u"Other");
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(stored("MetaID"), "meta-7");
  EXPECT_EQ(stored("AuthorizedRole"), "Keeper");
}

TEST_F(ComponentMaintenance, UpdateWritesAnEmptyTextForNoReportCode) {
  set().report_code(None_rc);
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(stored("RptCode"), "");
}

TEST_F(ComponentMaintenance, UpdateWritesImage0AsImage1) {
  set().image_index(0);
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(stored("ImageIndex"), "1");
  EXPECT_EQ(component_->image_index(), 1);
}

TEST_F(ComponentMaintenance, UpdateOfALockedComponentOpensNoSecondTransaction) {
  ASSERT_TRUE(component_->lock_record());
  (void)process_.trace();
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(kUpdate, u"Commit"));
  EXPECT_FALSE(component_->locked());
}

TEST_F(ComponentMaintenance, UpdateInsertsAMissingRow) {
  database_.run("DELETE FROM DW_SEC_COMP");
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook, u"Begin", kOpen,
                                            kInsert, u"Commit"));
  EXPECT_THAT(database_.run("SELECT CompID, CompName, MetaID, AuthorizedRole, SoftLock"
                            "  FROM DW_SEC_COMP"),
              ElementsAre(ElementsAre("7", "Desk", "NULL", "NULL", "")));
  EXPECT_EQ(message(), u"No Record found for ID: 7 SQL=Select * From DW_SEC_COMP Where CompID = 7");
  EXPECT_EQ(number(), 0);
}

TEST_F(ComponentMaintenance, UpdateRefusesARowThatChangedSinceItWasRead) {
  database_.run("UPDATE DW_SEC_COMP SET CompName = 'Theirs'");
  set().name(u"Mine");
  EXPECT_EQ(component_->update(), RecordChanged_ue);
  EXPECT_EQ(message(), raised(kChanged, u"Component", u"Update"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Update SoftLock"));
  EXPECT_TRUE(component_->locked()) << "the row stays with the component";
  EXPECT_TRUE(component_->changed());
  EXPECT_TRUE(component_->release_record());
  EXPECT_THAT(process_.trace(), ElementsAre(u"Rollback"));
  EXPECT_EQ(stored("CompName"), "Theirs");
  EXPECT_EQ(stored("SoftLock"), "NULL");
}

TEST_F(ComponentMaintenance, UpdateAgainAfterARefusalIsRefusedAgain) {
  database_.run("UPDATE DW_SEC_COMP SET CompName = 'Theirs'");
  ASSERT_EQ(component_->update(), RecordChanged_ue);
  (void)process_.trace();
  EXPECT_EQ(component_->update(), RecordChanged_ue);
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(ComponentMaintenance, UpdateSucceedsAgainAfterReleasingAndLocking) {
  database_.run("UPDATE DW_SEC_COMP SET CompName = 'Theirs'");
  ASSERT_EQ(component_->update(), RecordChanged_ue);
  ASSERT_TRUE(component_->release_record());
  ASSERT_TRUE(component_->lock_record());
  EXPECT_EQ(component_->name(), u"Theirs");
  set().name(u"Mine");
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(stored("CompName"), "Mine");
}

TEST_F(ComponentMaintenance, UpdateRefusesTheSecondOfTwoThatReadTheSameRow) {
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  const auto theirs = load(other);
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(theirs->update(), RecordChanged_ue);
}

TEST_F(ComponentMaintenance, UpdateRefusesItsOwnSecondWriteWithoutALoadBetween) {
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(component_->update(), RecordChanged_ue);
}

TEST_F(ComponentMaintenance, UpdateWithoutARowVersionComparesNothing) {
  database_.run("UPDATE DW_SEC_COMP SET CompName = 'Theirs'");
  set().row_version({});
  set().name(u"Mine");
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(stored("CompName"), "Mine");
}

TEST_F(ComponentMaintenance, UpdateComparesVersionsWithRegardToCase) {
  database_.run("UPDATE DW_ROW_VERSION SET Counter = 106; UPDATE DW_SEC_COMP SET Priority = 1");
  component_ = load(process_);
  ASSERT_EQ(component_->row_version(), u"000000000000006B");
  set().row_version(u"000000000000006b");
  EXPECT_EQ(component_->update(), RecordChanged_ue);
}

TEST_F(ComponentMaintenance, UpdateOfANewComponentMissesItsId) {
  Component component(state());
  EXPECT_EQ(component.update(), MissRequiredField_ue);
  EXPECT_EQ(message(), raised(u"No ComponentID provided for updating the component!", u"Component",
                              u"Update"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), IsEmpty());
  EXPECT_FALSE(component.locked());
}

TEST_F(ComponentMaintenance, UpdateAfterRenumberingInsertsAndDeletesTheOldRow) {
  set().comp_id(8);
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Execute Delete from DW_Sec_Comp Where CompID = 7");
  EXPECT_THAT(database_.run("SELECT CompID, CompName FROM DW_SEC_COMP"),
              ElementsAre(ElementsAre("8", "Desk")));
}

TEST_F(ComponentMaintenance, UpdateOnceMoreAfterRenumberingDeletesAgain) {
  set().comp_id(8);
  ASSERT_EQ(component_->update(), OK_ue);
  set().row_version({});
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Execute Delete from DW_Sec_Comp Where CompID = 7");
  EXPECT_EQ(database_.value("SELECT COUNT(*) FROM DW_SEC_COMP"), "1");
}

TEST_F(ComponentMaintenance, UpdateOfAnAddedComponentDeletesNothing) {
  const auto added =
      process_.server->components()->add(9, u"Added", 0, 0, 0, false, 2, None_rc, u"", u"");
  ASSERT_NE(added, nullptr);
  EXPECT_EQ(added->update(), OK_ue);
  EXPECT_EQ(process_.trace().back(), u"Commit");
  EXPECT_FALSE(added->changed());
}

TEST_F(ComponentMaintenance, UpdateClearsTheMarkThatAMetaIdSets) {
  set().meta_id(u"abc");
  ASSERT_EQ(component_->update(), OK_ue);
  EXPECT_FALSE(component_->changed());
  EXPECT_EQ(component_->meta_id(), u"ABC");
  set().meta_id(u"abc");
  EXPECT_TRUE(component_->changed()) << "compared before it is turned to upper case";
}

TEST_F(ComponentMaintenance, UpdateRefusedAtTheCommitEndsWithBothLines) {
  test_support::PlainSqlite foreign = database_.open_plainly();
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") foreign.run("BEGIN IMMEDIATE");
  };
  EXPECT_EQ(component_->update(), Error_ue);
  EXPECT_EQ(message(), raised(u"Unable to update, record is locked!\r\n"
                              u"Unable to update the Component '7' in the DW_Sec_Comp table!",
                              u"Component", u"Update"));
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Begin", kOpen, u"Update SoftLock", kUpdate, u"Commit",
                  u"Failed -2147467259 1222: Lock request time out period exceeded.", u"Rollback"));
  EXPECT_TRUE(component_->locked());
  EXPECT_TRUE(component_->changed());
  foreign.run("ROLLBACK");
  process_.recorder.before_step = {};
  EXPECT_EQ(component_->update(), OK_ue) << "and can be repeated";
}

TEST_F(ComponentMaintenance, UpdateDoesNotWriteOverWhatAForeignProgramWroteIntoTheLockedRow) {
  set().name(u"Mine");
  process_.recorder.before_step = [&](TextView line) {
    if (line == u"Commit") database_.run("UPDATE DW_SEC_COMP SET CompName = 'Theirs'");
  };
  EXPECT_EQ(component_->update(), Error_ue);
  process_.recorder.before_step = {};
  EXPECT_EQ(message(), raised(u"Unable to update, record is locked!\r\n"
                              u"Unable to update the Component '7' in the DW_Sec_Comp table!",
                              u"Component", u"Update"));
  EXPECT_EQ(stored("CompName"), "Theirs");
}

TEST_F(ComponentMaintenance, UpdateRefusedBeforeTheCommitEndsWithUpdateWritesAccountAndTheLine) {
  database_.run(
      "CREATE TRIGGER Refuse BEFORE UPDATE OF CompName ON DW_SEC_COMP WHEN NEW.CompName = 'Bad'"
      " BEGIN SELECT RAISE(ABORT, 'no such name'); END");
  set().name(u"Bad");
  EXPECT_EQ(component_->update(), Error_ue);
  const std::size_t line =
      message().find(u"\r\nUnable to update the Component '7' in the DW_Sec_Comp table!");
  ASSERT_NE(line, Text::npos);
  EXPECT_TRUE(
      message().starts_with(u"\r\nError in Component: 'General', Proceedure: 'UpdateWrite'."));
  EXPECT_NE(message().find(u"\r\nError in Component: 'Component', Proceedure: 'Update'.", line),
            Text::npos);
  EXPECT_NE(number(), -2147221504) << "the first number sticks";
  EXPECT_TRUE(component_->locked());
  EXPECT_TRUE(component_->release_record());
  EXPECT_EQ(stored("CompName"), "Desk");
}

TEST_F(ComponentMaintenance, UpdateThatCouldNotInsertCanBeRepeatedWithoutANewTransaction) {
  database_.run(
      "DELETE FROM DW_SEC_COMP;"
      "CREATE TRIGGER Refuse BEFORE INSERT ON DW_SEC_COMP WHEN NEW.CompName = 'Bad'"
      " BEGIN SELECT RAISE(ABORT, 'no such name'); END");
  set().name(u"Bad");
  ASSERT_EQ(component_->update(), Error_ue);
  EXPECT_TRUE(component_->locked());
  set().name(u"Good");
  (void)process_.trace();
  EXPECT_EQ(component_->update(), OK_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(kInsert, u"Commit"));
  EXPECT_EQ(stored("CompName"), "Good");
}

TEST_F(ComponentMaintenance, UpdateRecordsWhatUpdateReadRecordsAndItsOwn) {
  state().connection->close();
  EXPECT_EQ(component_->update(), Error_ue);
  EXPECT_EQ(message(), join({account(u"General", u"UpdateRead", 3704,
                                     u"Operation is not allowed when the object is closed."),
                             account(u"Component", u"Update", 91,
                                     u"Object variable or With block variable not set")}));
  EXPECT_EQ(number(), 3704);
}

TEST_F(LockedComponent, IsNotLockedOnCancel) {
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_FALSE(component_->lock_record());
  EXPECT_FALSE(component_->locked());
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box()));
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook));
  EXPECT_FALSE(state().connection->in_transaction());
}

TEST_F(LockedComponent, IsLockedAndReloadedOnRetryAfterTheOtherWrote) {
  process_.host.box.will_answer(Answer::kRetry, [&] {
    test_support::ComponentSetters{*theirs_}.name(u"Theirs");
    EXPECT_EQ(theirs_->update(), OK_ue);
  });
  EXPECT_TRUE(component_->lock_record());
  EXPECT_EQ(component_->name(), u"Theirs");
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook, u"Begin", kOpen,
                                            u"Update SoftLock"));
}

TEST_F(LockedComponent, IsNotWrittenOnCancel) {
  process_.host.box.will_answer(Answer::kCancel);
  EXPECT_EQ(component_->update(), Error_ue);
  EXPECT_THAT(process_.trace(), ElementsAre(u"Begin", kOpen, u"Rollback", kLook));
  EXPECT_FALSE(component_->locked());
  EXPECT_NE(message().find(u"\r\nError in Component: 'Component', Proceedure: 'Update'."),
            Text::npos);
  EXPECT_TRUE(component_->changed());
  EXPECT_TRUE(theirs_->release_record());
  EXPECT_EQ(component_->update(), OK_ue);
}

TEST_F(LockedComponent, IsRefusedOnRetryAfterTheOtherWrote) {
  process_.host.box.will_answer(Answer::kRetry, [&] { EXPECT_EQ(theirs_->update(), OK_ue); });
  EXPECT_EQ(component_->update(), RecordChanged_ue);
}

TEST_F(LockedComponent, IsNotDeletedByAnother) {
  EXPECT_FALSE(component_->remove());
  EXPECT_THAT(process_.host.box.questions, IsEmpty());
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(stored("CompName"), "Desk");
}

}  // namespace
}  // namespace tarnwick
