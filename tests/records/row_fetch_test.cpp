#include "records/row_fetch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using platform::Answer;
using test_support::account;
using test_support::locked_box;
using test_support::raised;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr TextView kComponentRow = u"Select * From DW_SEC_COMP Where CompID = 7";

class UpdateRead : public test_support::ConnectedTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType)"
        "  VALUES (7, 'Desk', 0, 2);"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('00-AA', 'PC1', 7, 5, 1, 10);"
        "INSERT INTO DW_Reports (ReportName) VALUES ('Sales');");
    ConnectedTest::SetUp();
  }

  /// The statement that the key leads to: the first that is opened.
  Text statement_for(TextView key, TableSelector table) {
    (void)process_.trace();
    const FetchedRow fetched = update_read(state(), key, table);
    if (fetched.recordset != nullptr) update_release(*fetched.recordset);
    constexpr TextView kOpen = u"Open server dynamic pessimistic: ";
    for (const Text& line : process_.trace()) {
      if (line.starts_with(kOpen)) return line.substr(kOpen.size());
    }
    return u"(none)";
  }
};

TEST_F(UpdateRead, LocksAndStampsTheRowInATransaction) {
  const FetchedRow fetched = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFound);
  ASSERT_NE(fetched.recordset, nullptr);
  EXPECT_EQ(to_text(fetched.recordset->field(u"CompName").value()), u"Desk");
  EXPECT_EQ(to_text(fetched.recordset->field(u"SoftLock").value()),
            u"DESK-1 - 12/24/2023 6:05:09 PM");
  EXPECT_TRUE(state().connection->in_transaction());
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", join({u"Open server dynamic pessimistic: ", kComponentRow}),
                          u"Update SoftLock"));
  EXPECT_EQ(message(), u"");
  EXPECT_EQ(number(), 0);
}

TEST_F(UpdateRead, OpensAPessimisticDynamicServerCursor) {
  const FetchedRow fetched = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(fetched.recordset->cursor_location(), ado::CursorLocation::kServer);
  EXPECT_EQ(fetched.recordset->cursor_type(), ado::CursorType::kDynamic);
  EXPECT_EQ(fetched.recordset->lock_type(), ado::LockType::kPessimistic);
}

TEST_F(UpdateRead, StampsWithoutANameWhereTheComputerHasNone) {
  process_.host.name.reset();
  const FetchedRow fetched = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(to_text(fetched.recordset->field(u"SoftLock").value()), u" - 12/24/2023 6:05:09 PM");
}

TEST_F(UpdateRead, StampsMidnightWithoutATime) {
  process_.host.time = Date{45284.0};
  const FetchedRow fetched = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(to_text(fetched.recordset->field(u"SoftLock").value()), u"DESK-1 - 12/24/2023");
}

TEST_F(UpdateRead, ShowsTheStampToNobodyBeforeTheCommit) {
  const FetchedRow fetched = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(database_.value("SELECT SoftLock FROM DW_SEC_COMP WHERE CompID = 7"), "NULL");
}

TEST_F(UpdateRead, ClearsOlderMessagesByItsStepText) {
  state().errors.set_message(u"older");
  (void)update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(message(), u"");
}

TEST_F(UpdateRead, LeadsEachKindOfKeyToItsStatement) {
  EXPECT_EQ(statement_for(u"7", TableSelector::kComponents), kComponentRow);
  EXPECT_EQ(statement_for(u"Sales", TableSelector::kReports),
            u"Select * From DW_Reports Where ReportName = 'Sales'");
  EXPECT_EQ(statement_for(u"00-AA\u00FEPC1\u00FE7", TableSelector::kPcs),
            u"Select * From DW_SEC_PC Where MACNbr = '00-AA' And ComputerID = 'PC1' And CompID = "
            u"7");
}

TEST_F(UpdateRead, TakesAnyOtherSelectorForPcs) {
  EXPECT_EQ(statement_for(u"00-AA\u00FEPC1\u00FE7", static_cast<TableSelector>(9)),
            u"Select * From DW_SEC_PC Where MACNbr = '00-AA' And ComputerID = 'PC1' And CompID = "
            u"7");
}

TEST_F(UpdateRead, WritesIdsAsTheWholeNumbersThatTheyStandFor) {
  EXPECT_EQ(statement_for(u" +7.0 ", TableSelector::kComponents), kComponentRow);
  EXPECT_EQ(statement_for(u"6.5", TableSelector::kComponents),
            u"Select * From DW_SEC_COMP Where CompID = 6");
  EXPECT_EQ(statement_for(u"-1", TableSelector::kComponents),
            u"Select * From DW_SEC_COMP Where CompID = -1");
  EXPECT_EQ(statement_for(u"00-AA\u00FEPC1\u00FE07", TableSelector::kPcs),
            u"Select * From DW_SEC_PC Where MACNbr = '00-AA' And ComputerID = 'PC1' And CompID = "
            u"7");
}

TEST_F(UpdateRead, IgnoresPartsBehindTheThird) {
  EXPECT_EQ(statement_for(u"a\u00FEb\u00FE3\u00FEc", TableSelector::kPcs),
            u"Select * From DW_SEC_PC Where MACNbr = 'a' And ComputerID = 'b' And CompID = 3");
}

TEST_F(UpdateRead, RefusesAComponentKeyThatIsNotNumeric) {
  const FetchedRow fetched = update_read(state(), u"C7", TableSelector::kComponents);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFailed);
  EXPECT_EQ(fetched.recordset, nullptr);
  EXPECT_EQ(message(),
            raised(u"Non-numeric ID 'C7' passed for component ID!", u"General", u"UpdateRead"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(UpdateRead, RefusesAnEmptyComponentKey) {
  (void)update_read(state(), u"", TableSelector::kComponents);
  EXPECT_EQ(message(),
            raised(u"Non-numeric ID '' passed for component ID!", u"General", u"UpdateRead"));
}

TEST_F(UpdateRead, RefusesAnIdBeyond16Bits) {
  EXPECT_EQ(update_read(state(), u"32768", TableSelector::kComponents).outcome,
            FetchOutcome::kFailed);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 6, u"Overflow"));
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(UpdateRead, RefusesAPcKeyWithTwoParts) {
  const FetchedRow fetched = update_read(state(), u"00-AA\u00FEPC1", TableSelector::kPcs);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFailed);
  EXPECT_EQ(message(),
            raised(u"There were only '1' fields passed in for the computer ID '00-AA\u00FEPC1', "
                   u"unable to process!",
                   u"General", u"UpdateRead"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(UpdateRead, CountsThePartsOfAPcKeyByTheirHighestIndex) {
  (void)update_read(state(), u"00-AA", TableSelector::kPcs);
  EXPECT_EQ(message(), raised(u"There were only '0' fields passed in for the computer ID '00-AA', "
                              u"unable to process!",
                              u"General", u"UpdateRead"));
  (void)update_read(state(), u"", TableSelector::kPcs);
  EXPECT_EQ(message(), raised(u"There were only '-1' fields passed in for the computer ID '', "
                              u"unable to process!",
                              u"General", u"UpdateRead"));
}

TEST_F(UpdateRead, RefusesAPcKeyWhoseLastPartIsNoNumber) {
  (void)update_read(state(), u"00-AA\u00FEPC1\u00FEx", TableSelector::kPcs);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 13, u"Type mismatch"));
  EXPECT_THAT(process_.trace(), IsEmpty());
}

TEST_F(UpdateRead, SearchesAMissingRowTwice) {
  constexpr TextView kRow = u"Select * From DW_SEC_COMP Where CompID = 99";
  const FetchedRow fetched = update_read(state(), u"99", TableSelector::kComponents);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kMissing);
  ASSERT_NE(fetched.recordset, nullptr);
  EXPECT_EQ(fetched.recordset->state(), ado::ObjectState::kOpen);
  EXPECT_TRUE(fetched.recordset->eof());
  EXPECT_TRUE(state().connection->in_transaction());
  const Text open = join({u"Open server dynamic pessimistic: ", kRow});
  EXPECT_THAT(process_.trace(),
              ElementsAre(u"Begin", open, u"Rollback",
                          join({u"Open server forward-only read-only: ", kRow}), u"Begin", open));
  EXPECT_EQ(message(), join({u"No Record found for ID: 99 SQL=", kRow}));
  EXPECT_EQ(number(), 0);
  EXPECT_TRUE(process_.host.box.questions.empty());
}

TEST_F(UpdateRead, NamesAMissingPcByItsKey) {
  (void)update_read(state(), u"00-BB\u00FEPC1\u00FE7", TableSelector::kPcs);
  EXPECT_EQ(message(),
            u"No Record found for ID: 00-BB\u00FEPC1\u00FE7 SQL=Select * From DW_SEC_PC Where "
            u"MACNbr = '00-BB' And ComputerID = 'PC1' And CompID = 7");
}

TEST_F(UpdateRead, FindsARowThatComesUpBetweenTheTwoSearches) {
  process_.recorder.before_step = [&, begins = 0](TextView line) mutable {
    if (line != u"Begin" || ++begins != 2) return;
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType)"
        "  VALUES (99, 'Late', 0, 2)");
  };
  const FetchedRow fetched = update_read(state(), u"99", TableSelector::kComponents);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFound);
  EXPECT_EQ(to_text(fetched.recordset->field(u"CompName").value()), u"Late");
}

TEST_F(UpdateRead, WithAQuoteInTheKeyMakesAMalformedStatement) {
  process_.host.box.will_answer(Answer::kRetry);
  const FetchedRow fetched = update_read(state(), u"O'Hara", TableSelector::kReports);
  EXPECT_EQ(fetched.outcome, FetchOutcome::kFailed);
  EXPECT_EQ(fetched.recordset, nullptr);
  EXPECT_EQ(state().failures.last().number, -2147217900) << "what the open was refused with";
  EXPECT_EQ(message(), raised(u"Error Opening Recordset! SQL=Select * From DW_Reports Where "
                              u"ReportName = 'O'Hara'",
                              u"General", u"UpdateRead"));
  EXPECT_EQ(number(), -2147221504);
  EXPECT_FALSE(state().connection->in_transaction());
  EXPECT_THAT(
      process_.trace(),
      ElementsAre(u"Begin",
                  u"Open server dynamic pessimistic: Select * From DW_Reports Where ReportName = "
                  u"'O'Hara'",
                  u"Rollback"));
}

TEST_F(UpdateRead, TakesEveryOpenThatFailsForALockAndAsksButDoesNotTryAgain) {
  database_.run("DROP TABLE DW_SEC_COMP");
  for (const Answer answer : {Answer::kRetry, Answer::kCancel}) {
    process_.host.box.will_answer(answer);
    EXPECT_EQ(update_read(state(), u"7", TableSelector::kComponents).outcome,
              FetchOutcome::kFailed);
    EXPECT_EQ(message(), raised(join({u"Error Opening Recordset! SQL=", kComponentRow}), u"General",
                                u"UpdateRead"));
  }
  EXPECT_THAT(process_.host.box.questions, ElementsAre(locked_box(), locked_box()));
}

TEST_F(UpdateRead, RecordsThatThereIsNoConnection) {
  state().connection.reset();
  EXPECT_EQ(update_read(state(), u"7", TableSelector::kComponents).outcome, FetchOutcome::kFailed);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 91,
                               u"Object variable or With block variable not set"));
}

TEST_F(UpdateRead, RecordsThatTheConnectionIsClosed) {
  state().connection->close();
  EXPECT_EQ(update_read(state(), u"7", TableSelector::kComponents).outcome, FetchOutcome::kFailed);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 3704,
                               u"Operation is not allowed when the object is closed."));
}

TEST_F(UpdateRead, RefusesASecondTransactionBesideTheFirst) {
  const FetchedRow first = update_read(state(), u"7", TableSelector::kComponents);
  EXPECT_EQ(update_read(state(), u"Sales", TableSelector::kReports).outcome, FetchOutcome::kFailed);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", -2147168237,
                               u"Only one transaction can be active on this session."));
  EXPECT_TRUE(state().connection->in_transaction());
}

TEST_F(UpdateRead, LeavesNoTransactionBehindWhenTheRowCannotBeStamped) {
  database_.run("ALTER TABLE DW_Reports RENAME COLUMN SoftLock TO Lock_Stamp");
  EXPECT_EQ(update_read(state(), u"Sales", TableSelector::kReports).outcome, FetchOutcome::kFailed);
  EXPECT_EQ(message(), account(u"General", u"UpdateRead", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
  EXPECT_FALSE(state().connection->in_transaction());
}

}  // namespace
}  // namespace tarnwick
