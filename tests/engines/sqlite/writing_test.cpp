#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ::testing::ElementsAre;

class Writing : public SessionTest {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old'), ('Stock', 'Old')");
    session_ = open_session();
  }
  std::string title(const std::string& name) const {
    return database_.value("SELECT Title FROM DW_Reports WHERE ReportName = '" + name + "'");
  }
  template <class Step>
  static AdoError failure(Step&& step) {
    return error_of([&] {
      step();
      return 0;
    });
  }

  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(Writing, InsideATransactionLeavesTheFileAloneUntilTheCommit) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  session_->execute(u"Delete From DW_Reports Where ReportName = 'Stock'");
  EXPECT_EQ(title("Sales"), "Old");
  EXPECT_EQ(title("Stock"), "Old");
  auto program = database_.open_plainly();
  program.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Other', 'x')");  // nobody waits
  session_->commit();
  EXPECT_THAT(database_.run("SELECT ReportName, Title FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Other", "x"), ElementsAre("Sales", "New")));
}

TEST_F(Writing, IsSeenByTheSessionItselfInItsOrder) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  sales.update({{u"Title", Text(u"One")}});
  session_->execute(u"Update DW_Reports Set Title = Title || '!'");
  sales.update({{u"Author", Text(u"A")}});
  const auto rows = read(*session_, kAllReports);
  EXPECT_EQ(rows.value(u"Title", 0), Variant(Text(u"One!")));
  EXPECT_EQ(rows.value(u"Author", 0), Variant(Text(u"A")));
  EXPECT_EQ(rows.value(u"Title", 1), Variant(Text(u"Old!")));
  session_->commit();
  EXPECT_EQ(title("Sales"), "One!");
}

TEST_F(Writing, ThatFailsIsToldAtOnceAndLeavesTheOthersStanding) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  const auto error =
      failure([&] { session_->execute(u"Insert Into DW_Reports (ReportName) Values ('STOCK')"); });
  EXPECT_EQ(error.number(), kIntegrityViolation);
  EXPECT_EQ(error.description(), u"UNIQUE constraint failed: DW_Reports.ReportName");
  EXPECT_EQ(failure([&] {
              session_->execute(u"Insert Into DW_Reports (Title) Values ('x')");
            }).description(),
            u"NOT NULL constraint failed: DW_Reports.ReportName");
  session_->commit();
  EXPECT_EQ(title("Sales"), "New");
}

TEST_F(Writing, ToAHeldRowIsStillCheckedWhereItCanFail) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  EXPECT_EQ(failure([&] {
              sales.update({{u"ReportName", Text(u"stock")}});
            }).number(),
            kIntegrityViolation);
  EXPECT_EQ(failure([&] {
              sales.update({{u"ReportName", Null{}}});
            }).number(),
            kIntegrityViolation);
  sales.update({{u"Title", Null{}}});
  session_->commit();
  EXPECT_EQ(title("Sales"), "NULL");
}

TEST_F(Writing, ToAHeldRowIsCheckedByTheRulesThatSomebodyAdded) {
  database_.run(
      "CREATE TRIGGER t BEFORE UPDATE ON DW_Reports WHEN NEW.Title = 'Bad' "
      "BEGIN SELECT RAISE(ABORT, 'no bad titles'); END");
  session_->begin();
  auto sales = hold(*session_, kSales);
  sales.update({{u"Title", Text(u"Good")}});
  const auto error = failure([&] { sales.update({{u"Title", Text(u"Bad")}}); });
  EXPECT_EQ(error.number(), kIntegrityViolation);
  EXPECT_EQ(error.description(), u"no bad titles");
  session_->commit();
  EXPECT_EQ(title("Sales"), "Good");
}

TEST_F(Writing, ToAHeldRowIsCheckedByRulesAddedMeanwhile) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  sales.update({{u"Title", Text(u"Bad")}});
  database_.run(
      "CREATE TRIGGER t BEFORE UPDATE ON DW_Reports WHEN NEW.Title = 'Bad' "
      "BEGIN SELECT RAISE(ABORT, 'no bad titles'); END");
  EXPECT_EQ(failure([&] { session_->commit(); }).description(), u"no bad titles");
  EXPECT_EQ(title("Sales"), "Old");
  session_->rollback();
}

TEST_F(Writing, ToAHeldRowRefusesANullWhereNoneMayBe) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  session_->begin();
  const auto component = hold(*session_, u"Select * From DW_SEC_COMP Where CompID = 1");
  EXPECT_EQ(failure([&] {
              component.update({{u"MaintType", Null{}}});
            }).number(),
            kIntegrityViolation);
  session_->commit();
  EXPECT_EQ(database_.value("SELECT MaintType FROM DW_SEC_COMP"), "2");
}

TEST_F(Writing, ToOneHeldRowAfterTheOtherReachesEach) {
  database_.run("INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  session_->begin();
  const auto reports = hold(*session_, kAllReports, kAll);
  const auto component = hold(*session_, u"Select * From DW_SEC_COMP Where CompID = 1");
  reports.update({{u"Title", Text(u"First")}}, 0);
  reports.update({{u"Title", Text(u"Second")}}, 1);
  component.update({{u"MetaID", Text(u"Third")}});
  session_->commit();
  EXPECT_EQ(title("Sales"), "First");
  EXPECT_EQ(title("Stock"), "Second");
  EXPECT_EQ(database_.value("SELECT MetaID FROM DW_SEC_COMP"), "Third");
}

TEST_F(Writing, OfNoColumnAtAllDoesNothingToARowAndAddsARowOfDefaults) {
  database_.run("CREATE TABLE T (id INTEGER PRIMARY KEY, a DEFAULT 5)");
  const auto sales = read(*session_, kSales);
  const auto before = database_.value("SELECT hex(RowVersion) FROM DW_Reports");
  sales.update({});
  EXPECT_EQ(database_.value("SELECT hex(RowVersion) FROM DW_Reports"), before);
  const auto table = read(*session_, u"Select * From T");
  table.insert({});
  session_->begin();
  table.insert({{u"a", std::int32_t{6}}});  // SQLite gives the row its key
  session_->commit();
  EXPECT_THAT(database_.run("SELECT id, a FROM T"),
              ElementsAre(ElementsAre("1", "5"), ElementsAre("2", "6")));
}

TEST_F(Writing, ToAColumnOfAnyName) {
  database_.run("CREATE TABLE T (id INTEGER PRIMARY KEY, \"a\"\"b\" TEXT)");
  read(*session_, u"Select * From T").insert({{u"a\"b", Text(u"x")}});
  EXPECT_EQ(database_.value("SELECT \"a\"\"b\" FROM T"), "x");
}

TEST_F(Writing, OfAVersionIsTheTriggersAffair) {
  session_->begin();
  hold(*session_, kSales).update({{u"RowVersion", Bytes(8, std::byte{1})}});
  session_->commit();
  EXPECT_EQ(database_.value("SELECT RowVersion = (SELECT Version FROM DW_ROW_VERSION) "
                            "FROM DW_Reports WHERE ReportName = 'Sales'"),
            "1");
}

TEST_F(Writing, IsSeenByTheSessionAlsoWhereRowsHaveNoVersions) {
  database_.loosen("DW_Reports", "PRIMARY KEY (ReportName)");
  database_.run(
      "DROP TABLE IF EXISTS DW_ROW_VERSION;"
      "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  session_ = open_session();
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"New")));
  session_->rollback();
  EXPECT_EQ(title("Sales"), "Old");
}

TEST_F(Writing, ToARowThatIsGoneSaysSo) {
  const auto rows = read(*session_, kSales);
  database_.run("DELETE FROM DW_Reports WHERE ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { rows.update({{u"Title", Text(u"New")}}); }).number(), kRowNotLocated);
  session_->begin();
  EXPECT_EQ(failure([&] { rows.update({{u"Title", Text(u"New")}}); }).number(), kRowNotLocated);
  session_->commit();
}

TEST_F(Writing, ToARowThatAForeignProgramDeletedFailsAtTheCommit) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  database_.run("DELETE FROM DW_Reports WHERE ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { session_->commit(); }).number(), kRowNotLocated);
  EXPECT_EQ(session_->held_rows().size(), 1u);  // the transaction is still open
  session_->rollback();
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "1");
}

TEST_F(Writing, ToAHeldRowThatAForeignProgramWroteMeanwhileFailsAtTheCommit) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  database_.run("UPDATE DW_Reports SET Title = 'Theirs' WHERE ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { session_->commit(); }).number(), kRowNotLocated);
  session_->rollback();
  EXPECT_EQ(title("Sales"), "Theirs");
}

TEST_F(Writing, ToAHeldRowThatAForeignProgramWroteMeanwhileIsToldByTheNextRead) {
  session_->begin();
  hold(*session_, kSales).update({{u"SoftLock", Text(u"mine")}});
  database_.run("UPDATE DW_Reports SET Title = 'Theirs' WHERE ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { (void)read(*session_, kSales); }).number(), kRowNotLocated);
  session_->rollback();
  EXPECT_EQ(title("Sales"), "Theirs");
}

TEST_F(Writing, ToAHeldRowWithRulesOfOthersFindsAForeignWriteToo) {
  database_.run("CREATE TRIGGER Theirs AFTER DELETE ON DW_Reports BEGIN SELECT 1; END");
  session_->begin();
  auto sales = hold(*session_, kSales);
  database_.run("UPDATE DW_Reports SET Title = 'Theirs' WHERE ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { sales.update({{u"Title", Text(u"New")}}); }).number(), kRowNotLocated);
  session_->rollback();
  EXPECT_EQ(title("Sales"), "Theirs");
}

TEST_F(Writing, ToAHeldRowMoreThanOnceIsNoForeignWrite) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  sales.update({{u"SoftLock", Text(u"mine")}});
  EXPECT_EQ(read(*session_, kSales).value(u"SoftLock"), Variant(Text(u"mine")));
  auto again = hold(*session_, kSales);
  again.update({{u"Title", Text(u"New")}});
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"New")));
  again.update({{u"SoftLock", Null{}}});
  session_->commit();
  EXPECT_EQ(title("Sales"), "New");
}

TEST_F(Writing, ToARowHeldBehindAWriteIsNoForeignWrite) {
  session_->begin();
  session_->execute(u"Update DW_Reports Set Author = 'A'");
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Other')");  // bumps the counter
  session_->commit();
  EXPECT_EQ(title("Sales"), "New");
}

TEST_F(Writing, ToARowThatTheTransactionItselfDeletedSaysSo) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  session_->execute(u"Delete From DW_Reports Where ReportName = 'Sales'");
  EXPECT_EQ(failure([&] { sales.update({{u"Title", Text(u"New")}}); }).number(), kRowNotLocated);
  session_->rollback();
}

TEST_F(Writing, BumpsTheRowVersionWhoeverWrites) {
  const auto version = [&] {
    return database_.value("SELECT RowVersion FROM DW_Reports WHERE ReportName = 'Sales'");
  };
  EXPECT_EQ(version(), "0000000000000001");
  database_.run("UPDATE DW_Reports SET Title = 'x' WHERE ReportName = 'Sales'");
  EXPECT_EQ(version(), "0000000000000003");
  read(*session_, kSales).update({{u"Title", Text(u"New")}});
  EXPECT_EQ(version(), "0000000000000004");
}

TEST_F(Writing, ThatIsRolledBackHasShownVersionsThatNoCommitEverGives) {
  const auto version = [&] {
    return std::get<Bytes>(read(*session_, kSales).value(u"RowVersion"));
  };
  session_->begin();
  hold(*session_, kSales).update({{u"SoftLock", Text(u"x")}});
  EXPECT_EQ(version(), (Bytes{std::byte{0x40}, {}, {}, {}, {}, {}, {}, std::byte{3}}));
  session_->rollback();
  read(*session_, kSales).update({{u"Title", Text(u"New")}});
  EXPECT_EQ(version(), (Bytes{{}, {}, {}, {}, {}, {}, {}, std::byte{3}}));
}

TEST_F(Writing, OfAHeldRowsKeyAsItStandsIsAWrite) {
  session_->begin();
  hold(*session_, kSales).update({{u"ReportName", Text(u"Sales")}});
  session_->commit();
  EXPECT_EQ(database_.value("SELECT RowVersion FROM DW_Reports WHERE ReportName = 'Sales'"),
            "0000000000000003");
}

TEST_F(Writing, ChangesTheLetterCaseOfAKey) {
  session_->begin();
  auto sales = hold(*session_, kSales);
  sales.update({{u"ReportName", Text(u"SALES")}, {u"Title", Text(u"New")}});
  session_->commit();
  EXPECT_THAT(database_.run("SELECT ReportName, Title FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("SALES", "New"), ElementsAre("Stock", "Old")));
}

TEST_F(Writing, RefusesAKeyThatAnotherRowHasInOtherLetters) {
  database_.run("UPDATE DW_Reports SET ReportName = 'Übersicht' WHERE ReportName = 'Stock'");
  const auto refused = [&](auto&& write) {
    const auto error = failure(write);
    EXPECT_EQ(error.number(), -2147217873);
    EXPECT_EQ(error.native(), 1555);
    EXPECT_EQ(error.description(), u"UNIQUE constraint failed: DW_Reports.ReportName");
  };
  const auto sales = read(*session_, kSales);
  refused([&] { sales.update({{u"ReportName", Text(u"übersicht")}}); });
  refused([&] { sales.insert({{u"ReportName", Text(u"ÜBERSICHT")}}); });
  session_->begin();
  refused([&] { hold(*session_, kSales).update({{u"ReportName", Text(u"übersicht")}}); });
  session_->rollback();
  sales.update({{u"ReportName", Text(u"Säles")}});
  EXPECT_THAT(database_.run("SELECT ReportName FROM DW_Reports ORDER BY 1"),
              ElementsAre(ElementsAre("Säles"), ElementsAre("Übersicht")));
}

TEST_F(Writing, RefusesTextsThatTheDatabaseCannotKeep) {
  const auto rows = read(*session_, kSales);
  const auto nul = failure([&] { rows.update({{u"Title", Text(u"a\0b", 3)}}); });
  EXPECT_EQ(nul.number(), 3421);
  EXPECT_EQ(nul.description(), u"The text holds a NUL character, which the database cannot keep.");
  const auto half = failure([&] { rows.insert({{u"ReportName", Text(u"\xD800")}}); });
  EXPECT_EQ(half.number(), 3421);
  EXPECT_EQ(half.description(),
            u"The text holds an unpaired surrogate, which the database cannot keep.");
  EXPECT_EQ(title("Sales"), "Old");
}

TEST_F(Writing, StoresDatesAsRealNumbers) {
  read(*session_, kSales).update({{u"Created", Date{45000.0}}});
  EXPECT_EQ(database_.value("SELECT typeof(Created) || ' ' || Created FROM DW_Reports"),
            "real 45000.0");
}

TEST_F(Writing, ThroughTheShorterNameReachesTheTable) {
  const auto rows = read(*session_, u"Select * From DW_Report Where ReportName = 'Sales'");
  rows.update({{u"Title", Text(u"New")}});
  EXPECT_EQ(title("Sales"), "New");
}

TEST_F(Writing, ByAnExpressionIsRefused) {
  const auto rows = read(*session_, u"Select ReportName, upper(Title) t From DW_Reports");
  const auto error = failure([&] { rows.update({{u"t", Text(u"x")}}); });
  EXPECT_EQ(error.number(), 3251);
  EXPECT_EQ(error.description(),
            u"The column 't' cannot be written: it is no column of the one table that is read.");
}

TEST_F(Writing, OfALoadThatCannotBeginHoldsUpNobodyAndCanBeginAgain) {
  database_.run(
      "PRAGMA writable_schema = ON;"
      "INSERT INTO sqlite_master VALUES"
      "  ('table', 'Broken', 'Broken', 0, 'CREATE VIRTUAL TABLE Broken USING missing(a)');"
      "CREATE TABLE Other (Nr INTEGER)");  // has sessions look at all tables anew
  EXPECT_EQ(failure([&] { session_->begin_load(); }).description(), u"no such module: missing");
  database_.run(
      "PRAGMA writable_schema = ON; DELETE FROM sqlite_master WHERE name = 'Broken';"
      "DROP TABLE Other");
  session_->begin_load();
  session_->execute(u"Update DW_Reports Set Title = 'New'");
  session_->commit();
  EXPECT_EQ(title("Sales"), "New");
}

TEST_F(Writing, OfAnEmptyTransactionCommits) {
  session_->begin();
  session_->commit();
  session_->begin();
  session_->rollback();
}

}  // namespace
}  // namespace tarnwick::sqlite
