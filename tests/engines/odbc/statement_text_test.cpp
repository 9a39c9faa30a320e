#include "engines/odbc/statement_text.h"

#include <gtest/gtest.h>

namespace tarnwick::odbc {
namespace {

Text hinted(TextView statement) {
  const auto select = parse_table_select(statement);
  return select ? with_row_lock(statement, *select) : Text(u"(nothing)");
}

TEST(StatementText, ARowLockIsAskedForBehindTheTable) {
  EXPECT_EQ(hinted(u"Select * From DW_Reports Where ReportName = 'Sales'"),
            u"Select * From DW_Reports WITH (UPDLOCK, ROWLOCK) Where ReportName = 'Sales'");
  EXPECT_EQ(hinted(u"select * from dbo.DW_SEC_COMP"),
            u"select * from dbo.DW_SEC_COMP WITH (UPDLOCK, ROWLOCK)");
  EXPECT_EQ(hinted(u"SELECT a FROM [db].[dbo].[A ] table] ORDER BY a;"), u"(nothing)");
  EXPECT_EQ(hinted(u"SELECT a FROM [db].[dbo].[A ]] table] ORDER BY a;"),
            u"SELECT a FROM [db].[dbo].[A ]] table] WITH (UPDLOCK, ROWLOCK) ORDER BY a;");
}

TEST(StatementText, ARowLockIsAskedForBehindTheTablesAlias) {
  EXPECT_EQ(hinted(u"SELECT r.a FROM T AS r WHERE r.a = 1"),
            u"SELECT r.a FROM T AS r WITH (UPDLOCK, ROWLOCK) WHERE r.a = 1");
  EXPECT_EQ(hinted(u"SELECT r.a FROM T r"), u"SELECT r.a FROM T r WITH (UPDLOCK, ROWLOCK)");
}

TEST(StatementText, WordsInQuotesAndCommentsAreNoPartOfTheStatement) {
  EXPECT_EQ(hinted(u"SELECT 'x from y', \"from\", [from] /* from /* z */ */ FROM T -- where\n"
                   u"WHERE a = 'it''s; UNION'"),
            u"SELECT 'x from y', \"from\", [from] /* from /* z */ */ FROM T WITH (UPDLOCK, "
            u"ROWLOCK) -- where\nWHERE a = 'it''s; UNION'");
  EXPECT_EQ(hinted(u"SELECT (SELECT 1 FROM U) FROM T"),
            u"SELECT (SELECT 1 FROM U) FROM T WITH (UPDLOCK, ROWLOCK)");
}

TEST(StatementText, NamesMayHoldAnyLetterAndSomeSigns) {
  for (const TextView table : {u"#tmp", u"@rows", u"T$x", u"_t", u"Übersicht", u"t9"}) {
    EXPECT_EQ(hinted(join({u"SELECT\u00a0*\tFROM ", table})),
              join({u"SELECT\u00a0*\tFROM ", table, u" WITH (UPDLOCK, ROWLOCK)"}));
  }
  EXPECT_EQ(hinted(u"SELECT * FROM {T}"), u"(nothing)");
}

TEST(StatementText, ARemarkMayBeTheEnd) {
  EXPECT_EQ(hinted(u"SELECT * FROM T -- all of it"),
            u"SELECT * FROM T WITH (UPDLOCK, ROWLOCK) -- all of it");
  EXPECT_EQ(hinted(u"SELECT * FROM T /* all of it"),
            u"SELECT * FROM T WITH (UPDLOCK, ROWLOCK) /* all of it");
}

TEST(StatementText, AnotherShapeCountsAtTheStatementsOwnLevelAlone) {
  EXPECT_EQ(hinted(u"SELECT * FROM T WHERE a IN (SELECT b FROM U GROUP BY b)"),
            u"SELECT * FROM T WITH (UPDLOCK, ROWLOCK) WHERE a IN (SELECT b FROM U GROUP BY b)");
}

TEST(StatementText, OnlyTheCallOfItsProcedureEntersARole) {
  EXPECT_TRUE(only_enters_role(u"EXEC sp_setapprole 'r','p'"));
  for (const TextView other : {u"SELECT 1", u"EXEC sp_other 'r','p'", u"EXEC sp_setapprole r,'p'",
                               u"EXEC sp_setapprole 'r','p'; SELECT 1"}) {
    EXPECT_FALSE(only_enters_role(other)) << to_utf8(other);
  }
}

TEST(StatementText, AMalformedEndIsLeftToTheServer) {
  EXPECT_EQ(hinted(u"Select * From DW_Reports Where ReportName = 'O'Neil'"),
            u"Select * From DW_Reports WITH (UPDLOCK, ROWLOCK) Where ReportName = 'O'Neil'");
  EXPECT_EQ(hinted(u"Select * From T Order By a Where b = 1"),
            u"Select * From T WITH (UPDLOCK, ROWLOCK) Order By a Where b = 1");
}

TEST(StatementText, OtherStatementsThanOverOneTableAreNotRead) {
  for (const TextView statement : {u"",
                                   u"Selct * From T",
                                   u"DELETE FROM T",
                                   u"SELECT 1",
                                   u"SELECT * FROM",
                                   u"SELECT * INTO a FROM b",
                                   u"SELECT * FROM a, b",
                                   u"SELECT * FROM a JOIN b ON a.x = b.x",
                                   u"SELECT * FROM (SELECT 1) x",
                                   u"SELECT * FROM a WITH (NOLOCK)",
                                   u"SELECT * FROM a WHERE x = 1 UNION SELECT * FROM b",
                                   u"SELECT x FROM a GROUP BY x",
                                   u"SELECT x FROM a WHERE y = 1 GROUP BY x",
                                   u"SELECT * FROM f(1)",
                                   u"SELECT * FROM a; DELETE FROM a",
                                   u"SELECT * FROM a AS",
                                   u"SELECT * FROM a b c",
                                   u"SELECT 1; SELECT * FROM a",
                                   u"SELECT * FROM a.*",
                                   u"SELECT * FROM a.'b'"}) {
    EXPECT_FALSE(parse_table_select(statement)) << to_utf8(statement);
  }
}

TEST(StatementText, ATablesNameIsTakenApart) {
  const auto select = parse_table_select(u"SELECT * FROM [my db]..\"my \"\"table\"");
  ASSERT_TRUE(select);
  EXPECT_EQ(select->table, u"[my db]..\"my \"\"table\"");
  EXPECT_EQ(select->parts, (std::vector<Text>{u"my db", u"", u"my \"table"}));
}

TEST(StatementText, ColumnsAloneAreAskedForWithoutRowsAndLocks) {
  const TextView statement = u"Select a, b From T x Where a = 'O'Neil'";
  EXPECT_EQ(columns_only(statement, *parse_table_select(statement)),
            u"Select a, b From T x WITH (NOLOCK) WHERE 1 = 0");
}

TEST(StatementText, NamesAreQuotedWithTheirQuotesDoubled) {
  EXPECT_EQ(bracketed(u"a]b"), u"[a]]b]");
  EXPECT_EQ(quoted(u"a\"b", u"\""), u"\"a\"\"b\"");
  EXPECT_EQ(quoted(u"ab", u" "), u"ab");
  EXPECT_EQ(quoted(u"ab", u""), u"ab");
}

}  // namespace
}  // namespace tarnwick::odbc
