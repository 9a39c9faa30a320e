#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ::testing::ElementsAre;

class Statements : public SessionTest {
 protected:
  void SetUp() override { session_ = open_session(); }
  void execute(TextView statement) { session_->execute(statement); }
  AdoError refusal(TextView statement) {
    return error_of([&] {
      execute(statement);
      return 0;
    });
  }
  void expect_refused(TextView statement, std::int32_t number, TextView description) {
    const auto error = refusal(statement);
    EXPECT_EQ(error.number(), number) << to_display_utf8(statement);
    EXPECT_EQ(error.description(), description);
    const auto opening = error_of([&] { return session_->open({.statement = statement}); });
    EXPECT_EQ(opening.number(), number);
    EXPECT_EQ(opening.description(), description);
  }

  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(Statements, ReachSqliteAsTheyStand) {
  execute(u"INSERT INTO dbo.dw_reports (ReportName, Title) VALUES ('Sales', 'It''s') -- remark");
  execute(u"WITH t(x) AS (VALUES ('Stock')) INSERT INTO DW_Reports (ReportName) SELECT x FROM t;");
  EXPECT_THAT(database_.run("SELECT ReportName, Title FROM DW_Reports"),
              ElementsAre(ElementsAre("Sales", "It's"), ElementsAre("Stock", "NULL")));
  EXPECT_EQ(read(*session_, u"Select count(*) n From dbo.DW_Reports").value(u"n"),
            Variant(std::int32_t{2}));
}

TEST_F(Statements, MayEndInSemicolonsBlanksAndRemarks) {
  for (const TextView statement :
       {u"Select 1;", u"Select 1 ; ; ", u" ; Select 1", u"Select 1; -- that is all",
        u"/* first */ Select 1 /* last */ ;\r\n/* after */"}) {
    EXPECT_EQ(read(*session_, statement).size(), 1u) << to_utf8(statement);
  }
}

TEST_F(Statements, TextBehindTheFirstStatementIsRefusedAndNothingDone) {
  execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
  for (const TextView statement :
       {u"Delete From DW_Reports; Delete From DW_SEC_PC", u"Delete From DW_Reports; nonsense",
        u"Select * From DW_Reports Where ReportName = ''; Delete From DW_Reports --'"}) {
    expect_refused(statement, kCommandError,
                   u"There is text behind the first statement; statements go one at a time.");
  }
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "1");
}

TEST_F(Statements, AnEmptyOneIsRefused) {
  for (const TextView statement : {u"", u"  ", u";", u"-- nothing"}) {
    expect_refused(statement, kCommandError, u"The statement is empty.");
  }
}

TEST_F(Statements, WithANulOrAnUnpairedSurrogateAreRefused) {
  expect_refused(TextView(u"Select 1\0", 9), kCommandError,
                 u"The statement holds a NUL character.");
  expect_refused(TextView(u"Select * From DW_Reports Where ReportName = 'a\0b'", 49), kCommandError,
                 u"The statement holds a NUL character.");
  expect_refused(u"Select '\xDC00'", kCommandError, u"The statement holds an unpaired surrogate.");
}

TEST_F(Statements, ErrorsBearSqlitesTextAndCode) {
  const auto syntax = refusal(u"Select * From DW_SEC_COMP Order By CompID Where CompID = 7");
  EXPECT_EQ(syntax.number(), kCommandError);
  EXPECT_EQ(syntax.description(), u"near \"Where\": syntax error");
  EXPECT_EQ(syntax.native(), 1);
  expect_refused(u"Select * From DW_Nothing", kCommandError, u"no such table: DW_Nothing");
  expect_refused(u"Select * From DW_Nothing Where a = 1", kCommandError,
                 u"no such table: DW_Nothing");
  expect_refused(u"Select * From DW_Reports Where Missing = 'x'", kCommandError,
                 u"no such column: Missing");
  expect_refused(u"Select * From DW_Reports Where ReportName = 'O'Brien'", kCommandError,
                 u"near \"Brien\": syntax error");
  expect_refused(u"Select * From DW_Reports Where ReportName = 'x", kCommandError,
                 u"unrecognized token: \"'x\"");
  EXPECT_EQ(refusal(u"Insert Into DW_Reports (ReportName) Values (zeroblob(2000000000))").number(),
            kCommandError);
  execute(u"Create Table T (id Integer Primary Key)");
  EXPECT_EQ(refusal(u"Insert Into T Values ('x')").description(), u"datatype mismatch");
  EXPECT_EQ(refusal(u"Insert Into T Values ('x')").number(), kCommandError);
}

TEST_F(Statements, ALookUpByLiteralsIsTheSameAsAnyOtherStatement) {
  execute(u"Insert Into DW_Reports (ReportName, ImageIndex) Values ('It''s', 7)");
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 'IT''S'").size(), 1u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ImageIndex = 7").size(), 1u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ImageIndex = '7'").size(), 1u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ImageIndex = 8").size(), 0u);
  EXPECT_EQ(read(*session_, u"Select * From DW_Reports Where ReportName = 7").size(), 0u);
}

TEST_F(Statements, TransactionsAreTheConnectionsAffair) {
  for (const TextView statement : {u"BEGIN", u"COMMIT", u"ROLLBACK", u"END", u"BEGIN IMMEDIATE",
                                   u"SAVEPOINT s", u"RELEASE s", u"ROLLBACK TO s"}) {
    expect_refused(statement, kPermissionDenied,
                   u"Transactions are begun and ended through the connection, not by statements.");
  }
  execute(u"Delete From DW_Reports");
  expect_refused(u"COMMIT", kPermissionDenied,
                 u"Transactions are begun and ended through the connection, not by statements.");
}

TEST_F(Statements, OtherFilesAreOutOfReach) {
  expect_refused(u"ATTACH '/tmp/x.db' AS x", kPermissionDenied,
                 u"Other database files cannot be attached.");
  expect_refused(u"DETACH dbo", kPermissionDenied, u"Other database files cannot be attached.");
}

TEST_F(Statements, OnlyPragmasThatReadAreAvailable) {
  EXPECT_EQ(read(*session_, u"PRAGMA table_info(DW_Reports)").size(), 16u);
  expect_refused(u"PRAGMA journal_mode = DELETE", kPermissionDenied,
                 u"PRAGMA journal_mode is not available here.");
  expect_refused(u"PRAGMA synchronous = OFF", kPermissionDenied,
                 u"PRAGMA synchronous is not available here.");
}

TEST_F(Statements, TheRolesCannotBeReadOrWritten) {
  for (const TextView statement :
       {u"Select * From DW_APP_ROLE", u"Select count(*) From dbo.dw_app_role",
        u"Select (Select Hash From DW_APP_ROLE) From DW_Reports",
        u"Insert Into DW_APP_ROLE Values ('x', x'00', 1, x'00')", u"Delete From DW_APP_ROLE",
        u"Update DW_APP_ROLE Set Iterations = 1", u"Drop Table DW_APP_ROLE",
        u"Alter Table DW_APP_ROLE Rename To x",
        u"Create Trigger t After Insert On DW_APP_ROLE Begin Select 1; End"}) {
    expect_refused(statement, kPermissionDenied,
                   u"The table DW_APP_ROLE cannot be used by statements.");
  }
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_APP_ROLE"), "1");
}

TEST_F(Statements, TheVersionCounterIsWrittenByTheTriggersAlone) {
  expect_refused(u"Update DW_ROW_VERSION Set Counter = 0", kPermissionDenied,
                 u"The table DW_ROW_VERSION is written by the row version triggers alone.");
  expect_refused(u"Create Index i On DW_ROW_VERSION (Counter)", kPermissionDenied,
                 u"The table DW_ROW_VERSION is written by the row version triggers alone.");
  expect_refused(u"Delete From DW_ROW_VERSION", kPermissionDenied,
                 u"The table DW_ROW_VERSION is written by the row version triggers alone.");
  execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
  EXPECT_EQ(read(*session_, u"Select Counter From DW_ROW_VERSION").value(u"Counter"),
            Variant(std::int32_t{1}));
}

TEST_F(Statements, AWritingStatementThatReturnsRecordsIsRefusedBeforeItWrites) {
  const auto error = error_of([&] {
    return session_->open(
        {.statement = u"Insert Into DW_Reports (ReportName) Values ('x') Returning ReportName"});
  });
  EXPECT_EQ(error.number(), 3251);
  EXPECT_EQ(error.description(), u"A statement that writes cannot return records here.");
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "0");
}

TEST_F(Statements, SessionStatementsCanBeOpenedToo) {
  const auto rowset = session_->open({.statement = u"SET LOCK_TIMEOUT 5"});
  EXPECT_TRUE(rowset->columns().empty());
  EXPECT_EQ(error_of([&] {
              rowset->insert({});
              return 0;
            }).number(),
            3251);
}

TEST_F(Statements, MakeTablesThatStay) {
  execute(u"Create Table Notes (Id Integer Primary Key, Note Text)");
  execute(u"Insert Into Notes (Note) Values ('x')");
  EXPECT_EQ(database_.value("SELECT Note FROM Notes"), "x");
}

TEST_F(Statements, ThatTheEngineRunsForItselfAreNotOpenToClients) {
  // The engine has prepared it, word for word, when the role was entered.
  expect_refused(u"SELECT Salt, Iterations, Hash FROM dbo.DW_APP_ROLE WHERE RoleName = ?",
                 kPermissionDenied, u"The table DW_APP_ROLE cannot be used by statements.");
}

}  // namespace
}  // namespace tarnwick::sqlite
