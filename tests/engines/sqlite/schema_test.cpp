#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/embedded_database.h"

// The database as a program finds it that knows nothing of ours.

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Schema : public ::testing::Test {
 protected:
  std::string version(const std::string& where) const {
    return database_.value("SELECT RowVersion FROM DW_Reports WHERE " + where);
  }
  std::string columns_of(const std::string& table) const {
    return database_.value(
        "SELECT group_concat(name, ' ') FROM (SELECT name FROM pragma_table_info('" + table +
        "') ORDER BY cid)");
  }

  test_support::EmbeddedDatabase database_;
};

TEST_F(Schema, HasTheColumnsOfTheRecords) {
  EXPECT_EQ(columns_of("DW_SEC_COMP"),
            "CompID CompName ParentID Priority ImageIndex ForceDisplay MaintType SecGrpID RptCode "
            "Server MetaID AuthorizedRole SoftLock RowVersion");
  EXPECT_EQ(columns_of("DW_SEC_PC"),
            "MACNbr ComputerID CompID MaintType ActiveStatus ImageIndex LastUser LastLogin "
            "TotalLogins ActivatedBy ActivateDate DeactivatedBy DeactivateDate SoftLock RowVersion "
            "SoftwareVersion");
  EXPECT_EQ(columns_of("DW_Reports"),
            "ReportName Title Author Created Version RptGrpID ImageIndex SQLStmnt ReportType "
            "ReportDesc MaintType SoftLock RowVersion Definition TTX_Binary Report_Binary");
  EXPECT_EQ(columns_of("DW_Report"), columns_of("DW_Reports"));
}

TEST_F(Schema, RefusesNullsOnlyWhereARecordCannotBeWithoutAValue) {
  EXPECT_THAT(
      database_.run("SELECT m.name, c.name FROM sqlite_master m, pragma_table_info(m.name) c "
                    "WHERE m.name IN ('DW_SEC_COMP', 'DW_SEC_PC', 'DW_Reports') "
                    "AND c.\"notnull\" ORDER BY m.name, c.cid"),
      ElementsAre(ElementsAre("DW_Reports", "ReportName"), ElementsAre("DW_SEC_COMP", "CompID"),
                  ElementsAre("DW_SEC_COMP", "ForceDisplay"),
                  ElementsAre("DW_SEC_COMP", "MaintType"), ElementsAre("DW_SEC_PC", "MACNbr"),
                  ElementsAre("DW_SEC_PC", "ComputerID"), ElementsAre("DW_SEC_PC", "CompID"),
                  ElementsAre("DW_SEC_PC", "MaintType"), ElementsAre("DW_SEC_PC", "ActiveStatus"),
                  ElementsAre("DW_SEC_PC", "ImageIndex")));
}

TEST_F(Schema, KeepsWholeDaysAsRealNumbers) {
  database_.run("INSERT INTO DW_Reports (ReportName, Created) VALUES ('Sales', 45000)");
  EXPECT_THAT(database_.run("SELECT Created, typeof(Created) FROM DW_Reports"),
              ElementsAre(ElementsAre("45000.0", "real")));
}

TEST_F(Schema, KeepsTextsOfAnyLengthAndDigitsAsText) {
  const std::string longer(5000, 'x');
  database_.run("INSERT INTO DW_Reports (ReportName, Version) VALUES ('" + longer + "', '007')");
  EXPECT_THAT(database_.run("SELECT ReportName, Version FROM DW_Reports"),
              ElementsAre(ElementsAre(longer, "007")));
}

TEST_F(Schema, GivesARowAnEightByteVersionWhenItIsInserted) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales'), ('Stock')");
  EXPECT_THAT(database_.run("SELECT ReportName, RowVersion, typeof(RowVersion) FROM DW_Reports"),
              ElementsAre(ElementsAre("Sales", "0000000000000001", "blob"),
                          ElementsAre("Stock", "0000000000000002", "blob")));
}

TEST_F(Schema, CountsVersionsForAllTablesTogether) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "VALUES ('00-1A', 'PC1', 1, 5, 1, 10)");
  database_.run("UPDATE DW_SEC_COMP SET Priority = 1");
  EXPECT_EQ(database_.value("SELECT RowVersion FROM DW_SEC_PC"), "0000000000000003");
  EXPECT_EQ(database_.value("SELECT RowVersion FROM DW_SEC_COMP"), "0000000000000004");
}

TEST_F(Schema, BumpsTheVersionOfARowWithEveryUpdateAndOfThatRowAlone) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales'), ('Stock')");
  database_.run("UPDATE DW_Reports SET Title = Title WHERE ReportName = 'sales'");
  EXPECT_EQ(version("ReportName = 'Sales'"), "0000000000000003");
  database_.run("UPDATE DW_Reports SET Title = Title WHERE ReportName = 'sales'");
  EXPECT_EQ(version("ReportName = 'Sales'"), "0000000000000004");
  EXPECT_EQ(version("ReportName = 'Stock'"), "0000000000000002");
}

TEST_F(Schema, BumpsTheVersionOfEveryRowThatAStatementUpdates) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('A'), ('B'), ('C')");
  database_.run("UPDATE DW_Reports SET Title = 'x' WHERE ReportName < 'C'");
  EXPECT_THAT(database_.run("SELECT RowVersion FROM DW_Reports ORDER BY ReportName"),
              ElementsAre(ElementsAre("0000000000000004"), ElementsAre("0000000000000005"),
                          ElementsAre("0000000000000003")));
}

TEST_F(Schema, BumpsTheVersionWhenAKeyIsChanged) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "VALUES ('00-1A', 'PC1', 1, 5, 1, 10)");
  database_.run("UPDATE DW_SEC_PC SET MACNbr = '00-1B', CompID = 2");
  EXPECT_THAT(database_.run("SELECT MACNbr, RowVersion FROM DW_SEC_PC"),
              ElementsAre(ElementsAre("00-1B", "0000000000000002")));
}

TEST_F(Schema, TakesNoVersionFromAWriter) {
  database_.run("INSERT INTO DW_Reports (ReportName, RowVersion) VALUES ('Sales', x'FFFF')");
  EXPECT_EQ(version("1"), "0000000000000001");
  database_.run("UPDATE DW_Reports SET RowVersion = x'00'");
  EXPECT_EQ(version("1"), "0000000000000002");
  database_.run("UPDATE DW_Reports SET RowVersion = NULL");
  EXPECT_EQ(version("1"), "0000000000000003");
  database_.run("UPDATE DW_Reports SET RowVersion = RowVersion");
  EXPECT_EQ(version("1"), "0000000000000004");
  database_.run(
      "INSERT INTO DW_Reports (ReportName, RowVersion) VALUES ('Next', x'0000000000000005')");
  EXPECT_NE(version("ReportName = 'Next'"), "0000000000000004");
}

TEST_F(Schema, BumpsTheVersionUnderReplaceAndUpsert) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  database_.run("REPLACE INTO DW_Reports (ReportName) VALUES ('SALES')");
  EXPECT_EQ(version("1"), "0000000000000002");
  database_.run(
      "INSERT INTO DW_Reports (ReportName) VALUES ('sales') "
      "ON CONFLICT (ReportName) DO UPDATE SET Title = 'x'");
  EXPECT_EQ(version("1"), "0000000000000003");
}

TEST_F(Schema, BumpsOncePerUpdateWhereRecursiveTriggersAreOnToo) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  database_.run("PRAGMA recursive_triggers = ON; UPDATE DW_Reports SET Title = 'x'");
  EXPECT_EQ(version("1"), "0000000000000002");
  database_.run("PRAGMA recursive_triggers = ON; UPDATE DW_Reports SET RowVersion = x'07'");
  EXPECT_EQ(version("1"), "0000000000000003");
  database_.run(
      "PRAGMA recursive_triggers = ON; REPLACE INTO DW_Reports (ReportName) VALUES ('Sales')");
  EXPECT_EQ(version("1"), "0000000000000004");
}

TEST_F(Schema, KeepsVersionsInOrderBeyondTheBytes) {
  database_.run("UPDATE DW_ROW_VERSION SET Counter = 127");
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('A')");
  database_.run("UPDATE DW_ROW_VERSION SET Counter = (1 << 56) - 2");
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('B')");
  EXPECT_THAT(
      database_.run("SELECT ReportName, RowVersion FROM DW_Reports ORDER BY RowVersion"),
      ElementsAre(ElementsAre("A", "0000000000000100"), ElementsAre("B", "7F7F7F7F7F7F7F7F")));
}

TEST_F(Schema, GivesTheOldVersionBackWithARollback) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  database_.run("BEGIN; UPDATE DW_Reports SET Title = 'x'; ROLLBACK");
  EXPECT_EQ(version("1"), "0000000000000001");
}

TEST_F(Schema, ComparesTextKeysWithoutRegardToCase) {
  auto program = database_.open_plainly();
  program.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  EXPECT_THROW(program.run("INSERT INTO DW_Reports (ReportName) VALUES ('SALES')"),
               std::runtime_error);
  program.run("INSERT INTO DW_Reports (ReportName) VALUES ('beta'), ('Alpha')");
  EXPECT_THAT(program.run("SELECT ReportName FROM DW_Reports ORDER BY ReportName"),
              ElementsAre(ElementsAre("Alpha"), ElementsAre("beta"), ElementsAre("Sales")));
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports WHERE ReportName = 'sAlEs'"), "1");
}

TEST_F(Schema, DeletesAReportUnderTheShorterNameToo) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales'), ('Stock')");
  database_.run("DELETE FROM DW_Report WHERE ReportName = 'SALES'");
  EXPECT_THAT(database_.run("SELECT ReportName FROM DW_Report"), ElementsAre(ElementsAre("Stock")));
}

TEST_F(Schema, PassesSqlitesOwnCheck) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
  EXPECT_THAT(database_.run("SELECT * FROM DW_SEC_COMP"), IsEmpty());
}

}  // namespace
}  // namespace tarnwick::sqlite
