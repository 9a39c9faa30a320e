#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

// Keys that differ in nothing but the case of letters beyond ASCII: two to SQLite, one row to us.

namespace tarnwick::sqlite {
namespace {

constexpr TextView kLarge = u"Select * From DW_Reports Where ReportName = 'ÜBERSICHT'";
constexpr TextView kSmall = u"Select * From dbo.DW_Reports Where ReportName = 'übersicht'";

class KeySpelling : public SessionTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Übersicht', 'Old'), "
        "('Ubersicht', 'Other'), ('Zahlen', 'Other'), ('Kosten Öl', 'Old')");
    session_ = open_session();
  }
  std::string names() const {
    return database_.value(
        "SELECT group_concat(ReportName) FROM (SELECT ReportName FROM DW_Reports "
        "WHERE Title <> 'Other' ORDER BY ReportName)");
  }

  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(KeySpelling, IsFoundInAnyCase) {
  for (const TextView statement : {kLarge, kSmall}) {
    const auto row = read(*session_, statement);
    ASSERT_EQ(row.size(), 1u);
    EXPECT_EQ(row.value(u"ReportName"), Variant(Text(u"Übersicht")));
  }
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'kosten öl'").size(), 1u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'kosten äl'").size(), 0u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'Zählen'").size(), 0u);
}

TEST_F(KeySpelling, IsLockedAndWrittenInAnyCaseAndStaysOneRow) {
  session_->begin();
  const auto row = hold(*session_, kSmall);
  ASSERT_EQ(row.size(), 1u);
  row.update({{u"SoftLock", Text(u"ME - now")}});
  row.update(
      {{u"ReportName", Text(u"übersicht")}, {u"Title", Text(u"New")}, {u"SoftLock", Text()}});
  EXPECT_EQ(read(*session_, kLarge).value(u"ReportName"), Variant(Text(u"übersicht")));
  session_->commit();
  EXPECT_EQ(names(), "Kosten Öl,übersicht");
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'übersicht'"), "New");
}

TEST_F(KeySpelling, IsOneRowToTheLocksOfTwoSessions) {
  const auto other = open_session();
  session_->begin();
  EXPECT_EQ(hold(*session_, kSmall).size(), 1u);
  for (const TextView statement : {kLarge, kSmall}) {
    other->begin();
    EXPECT_EQ(hold(*other, statement).size(), 0u);
    other->rollback();
    EXPECT_EQ(error_of([&] { return read(*other, statement); }).native(), 1222);
  }
  session_->rollback();
  other->begin();
  EXPECT_EQ(hold(*other, kLarge).size(), 1u);
  other->rollback();
}

TEST_F(KeySpelling, PrefersTheExactRowWhereThereAreTwo) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('übersicht', 'Second')");
  EXPECT_EQ(read(*session_, kSmall).value(u"Title"), Variant(Text(u"Second")));
  EXPECT_EQ(
      read(*session_, u"Select * From DW_Reports Where ReportName = 'Übersicht'").value(u"Title"),
      Variant(Text(u"Old")));
  session_->begin();
  EXPECT_EQ(hold(*session_, kSmall).value(u"Title"), Variant(Text(u"Second")));
  session_->rollback();
}

TEST_F(KeySpelling, ConcernsEveryPartOfAKeyInWhateverOrderItIsAsked) {
  database_.run(
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex) "
      "VALUES ('ñ-1', 'BÜRO', 7, 1, 1, 1), ('ñ-1', 'BÜRO', 8, 1, 1, 1)");
  const auto row = read(*session_,
                        u"Select * From DW_SEC_PC Where ComputerID = 'Büro' And MACNbr = 'Ñ-1' And "
                        u"CompID = 8");
  ASSERT_EQ(row.size(), 1u);
  EXPECT_EQ(row.value(u"CompID"), Variant(std::int16_t{8}));
  // Part of a key is no look-up of a record.
  EXPECT_EQ(read(*session_, u"Select * From DW_SEC_PC Where ComputerID = 'Büro'").size(), 0u);
}

TEST_F(KeySpelling, ConcernsTextsAlone) {
  database_.run(
      "CREATE TABLE T (a, b, PRIMARY KEY (a, b));"
      "INSERT INTO T VALUES (7, 'Öl'), (7, x'C3964C'), (7, 5), (8, 'Öl')");
  const auto rows = read(*session_, u"Select * From T Where a = 7 And b = 'ÖL'");
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows.value(u"b"), Variant(Text(u"Öl")));
  EXPECT_EQ(error_of([&] {
              rows.insert({{u"a", std::int32_t{8}}, {u"b", Text(u"öl")}});
              return 0;
            }).description(),
            u"UNIQUE constraint failed: T.a, T.b");
}

TEST_F(KeySpelling, CountsAsItIsStoredForADelete) {
  session_->execute(u"Delete From DW_Reports Where ReportName = 'übersicht'");
  EXPECT_EQ(names(), "Kosten Öl,Übersicht");
  session_->execute(u"Delete From DW_Reports Where ReportName = 'Übersicht'");
  EXPECT_EQ(names(), "Kosten Öl");
}

TEST_F(KeySpelling, SeesTheRowsOfTheOwnTransaction) {
  session_->begin();
  session_->execute(u"Insert Into DW_Reports (ReportName) Values ('Über')");
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'ÜBER'").size(), 1u);
  session_->rollback();
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'ÜBER'").size(), 0u);
}

}  // namespace
}  // namespace tarnwick::sqlite
