#include "engines/sqlite/upgrade_database.h"

#include <gmock/gmock.h>

#include "tests/engines/sqlite/released_database.h"
#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class UpgradeDatabase : public ReleasedDatabaseTest {
 protected:
  [[nodiscard]] std::unique_ptr<ado::EngineSession> open_session() const {
    auto session = SqliteEngine().connect(ado::ConnectionString::parse(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder().string())})));
    session->set_default_database(test_support::EmbeddedDatabase::kName);
    session->execute(u"EXEC sp_setapprole 'dw_admin','open sesame'");
    return session;
  }
  [[nodiscard]] Upgrade upgrade() const {
    return upgrade_database(folder(), test_support::EmbeddedDatabase::kName);
  }

  [[nodiscard]] Text quoted_file() const { return join({u"'", from_utf8(file().string()), u"'"}); }
  void expect_refused(TextView why) const {
    EXPECT_EQ(error_of([&] { return upgrade(); }).description(),
              join({u"The database ", quoted_file(), u" cannot be upgraded: ", why}));
  }
};

TEST_F(UpgradeDatabase, AnOlderDatabaseIsRefusedWithTheAdviceToUpgradeItAndLeftAsItIs) {
  const auto before = bytes();
  const auto error = error_of([&] { return open_session(); });
  EXPECT_EQ(error.number(), -2147467259);
  EXPECT_EQ(error.description(),
            join({u"The database ", quoted_file(),
                  u" cannot be opened: its tables are of version 0, which is older than this "
                  u"program; run 'tarnwick upgrade', which brings them to version 1"}));
  EXPECT_TRUE(bytes() == before);
}

TEST_F(UpgradeDatabase, MakesItWhatANewOneIsAndKeepsItsRows) {
  const std::string rows =
      "SELECT (SELECT group_concat(CompName || hex(RowVersion)) FROM DW_SEC_COMP), "
      "(SELECT group_concat(ComputerID || hex(RowVersion)) FROM DW_SEC_PC), "
      "(SELECT group_concat(Title || hex(RowVersion)) FROM DW_Reports), "
      "(SELECT group_concat(RoleName || hex(Hash)) FROM DW_APP_ROLE), "
      "(SELECT Counter FROM DW_ROW_VERSION)";
  const auto before = run(rows);
  const Upgrade done = upgrade();
  EXPECT_EQ(done.file, file());
  EXPECT_EQ(done.from, 0);
  EXPECT_EQ(done.to, 1);
  EXPECT_THAT(done.changes, ElementsAre(u"PCs are indexed by their computer id"));
  EXPECT_EQ(run(rows), before);
  EXPECT_EQ(value("PRAGMA integrity_check"), "ok");

  const test_support::EmbeddedDatabase fresh;
  EXPECT_EQ(schema_of(file()), schema_of(fresh.file()));
  EXPECT_EQ(value("PRAGMA user_version"), fresh.value("PRAGMA user_version"));
}

TEST_F(UpgradeDatabase, OpensItForItsRoleAndBumpsRowVersionsOn) {
  static_cast<void>(upgrade());
  const auto session = open_session();
  const auto report = read(*session, kSales);
  EXPECT_EQ(report.value(u"Title"), Variant(Text(u"Old")));
  const auto version = value("SELECT RowVersion FROM DW_Reports");
  report.update({{u"Title", Text(u"New")}});
  EXPECT_GT(value("SELECT RowVersion FROM DW_Reports"), version);
}

TEST_F(UpgradeDatabase, HasNothingToDoTheSecondTime) {
  static_cast<void>(upgrade());
  const auto before = bytes();
  const Upgrade again = upgrade();
  EXPECT_EQ(again.from, 1);
  EXPECT_EQ(again.to, 1);
  EXPECT_THAT(again.changes, IsEmpty());
  EXPECT_TRUE(bytes() == before);
}

TEST_F(UpgradeDatabase, TakesOneThatHasTheIndexAlready) {
  run("CREATE INDEX DW_SEC_PC_ComputerID ON DW_SEC_PC (ComputerID)");
  EXPECT_EQ(error_of([&] { return open_session(); }).number(), -2147467259);
  EXPECT_EQ(upgrade().to, 1);
  EXPECT_NO_THROW(static_cast<void>(open_session()));
}

TEST_F(UpgradeDatabase, LeavesTablesAloneThatWereMadeOtherwise) {
  run("DROP TABLE DW_ROW_VERSION");
  EXPECT_NO_THROW(static_cast<void>(open_session()));
  const auto schema = schema_of(file());
  const Upgrade nothing = upgrade();
  EXPECT_EQ(nothing.from, 0);
  EXPECT_EQ(nothing.to, 0);
  EXPECT_EQ(schema_of(file()), schema);
}

TEST_F(UpgradeDatabase, RefusesANewerOneAndLeavesItAsItIs) {
  run("PRAGMA user_version = 2");
  const auto before = bytes();
  expect_refused(
      u"its tables are of version 2, which is newer than this program; it knows versions up to 1");
  EXPECT_TRUE(bytes() == before);
}

TEST_F(UpgradeDatabase, RefusesAFileThatIsNoneOfOurs) {
  run("DROP TABLE DW_APP_ROLE");
  expect_refused(u"it has no table DW_APP_ROLE and so no application role");
}

TEST_F(UpgradeDatabase, SaysThatThereIsNoDatabase) {
  std::filesystem::remove(file());
  const auto error = error_of([&] { return upgrade(); });
  EXPECT_EQ(error.native(), 911);
  EXPECT_EQ(error.description(), join({u"The database file ", quoted_file(), u" does not exist."}));
  EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(UpgradeDatabase, LeavesAllAsItWasWhereAStepFails) {
  run("CREATE TABLE DW_SEC_PC_ComputerID (x)");
  const auto schema = schema_of(file());
  expect_refused(u"there is already a table named DW_SEC_PC_ComputerID");
  EXPECT_EQ(schema_of(file()), schema);
  EXPECT_EQ(value("PRAGMA user_version"), "0");
}

TEST_F(UpgradeDatabase, GoesOnBesideSomebodyWhoReads) {
  test_support::PlainSqlite reader(file());
  reader.run("BEGIN; SELECT * FROM DW_SEC_PC");
  EXPECT_EQ(upgrade().to, 1);
  EXPECT_EQ(reader.run("SELECT count(*) FROM DW_SEC_PC").at(0).at(0), "1");
}

}  // namespace
}  // namespace tarnwick::sqlite
