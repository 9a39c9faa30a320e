#include <gtest/gtest.h>

#include <exception>
#include <thread>

#include "engines/odbc/result.h"
#include "runtime/conversions.h"
#include "tests/engines/engine_contract.h"
#include "tests/engines/odbc/errors.h"
#include "tests/engines/odbc/scratch_database.h"

// On a real SQL Server, where TARNWICK_TEST_SQLSERVER names one: the contract of all engines, and
// what only this one has.

namespace tarnwick::engine_contract {
namespace {

class SqlServerUnderTest final : public EngineUnderTest {
 public:
  [[nodiscard]] ado::Engine& engine() override { return database_.engine(); }
  [[nodiscard]] Text connection_string() const override { return database_.login_string(); }
  [[nodiscard]] Text database() const override { return database_.name(); }
  [[nodiscard]] Text role() const override { return Text(database_.role()); }
  [[nodiscard]] Text role_password() const override { return Text(database_.role_password()); }
  [[nodiscard]] Codes codes() const override {
    return {
        .unknown_database = -2147217900, .role_refused = -2147217843, .role_missing = -2147217911};
  }
  [[nodiscard]] bool reads_all_items() const override { return !odbc_test::names_odbc_items(); }

 private:
  odbc_test::ScratchDatabase database_;
};

INSTANTIATE_TEST_SUITE_P(SqlServer, EngineContract,
                         testing::Values(EngineFactory{
                             .name = "SqlServer",
                             .unavailable = odbc_test::why_no_test_server(),
                             .make = [] { return std::make_unique<SqlServerUnderTest>(); }}));

}  // namespace
}  // namespace tarnwick::engine_contract

namespace tarnwick::odbc_test {
namespace {

using ado::AdoErrorNumber;
using engine_contract::FetchedRows;

constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";

class SqlServerTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!why_no_test_server().empty()) GTEST_SKIP() << why_no_test_server();
    database_ = std::make_unique<ScratchDatabase>();
  }

  static FetchedRows read(ado::EngineSession& session, TextView statement) {
    return FetchedRows(session.open({.statement = statement,
                                     .location = ado::CursorLocation::kClient,
                                     .type = ado::CursorType::kStatic,
                                     .lock = ado::LockType::kOptimistic}),
                       odbc::kAllRows);
  }
  static FetchedRows look(ado::EngineSession& session, TextView statement) {
    return FetchedRows(session.open({.statement = statement}), 1);
  }
  static FetchedRows hold(ado::EngineSession& session, TextView statement) {
    return FetchedRows(session.open({.statement = statement,
                                     .location = ado::CursorLocation::kServer,
                                     .type = ado::CursorType::kDynamic,
                                     .lock = ado::LockType::kPessimistic}),
                       1);
  }

  std::unique_ptr<ScratchDatabase> database_;
};

TEST_F(SqlServerTest, TheSchemaCanBeRunAgainAndLeavesTheRowsAlone) {
  const auto session = database_->session();
  session->execute(u"Insert Into DW_SEC_COMP (CompID, ForceDisplay, MaintType) Values (7, 1, 2)");
  database_->run_schema();
  EXPECT_EQ(read(*session, u"Select * From DW_SEC_COMP").size(), 1u);
  EXPECT_EQ(read(*database_->session(), u"Select * From DW_SEC_COMP").size(), 1u);
}

TEST_F(SqlServerTest, TheRoleMayDoWhatTheStatementsNeedAndNoMore) {
  const auto session = database_->session();
  session->execute(u"Delete from DW_Report Where ReportName = 'Sales'");
  for (const TextView statement :
       {u"Create Table T (a int)", u"Drop Table DW_Reports", u"Truncate Table DW_Reports",
        u"Grant Select On DW_Reports To public"}) {
    EXPECT_THROW(session->execute(statement), ado::AdoError) << to_utf8(statement);
  }
}

TEST_F(SqlServerTest, EveryTypeThatATableMayHaveIsRead) {
  const auto session = database_->administrator();
  const auto row = read(
      *session,
      u"Select CAST(-5 AS smallint) As a, CAST(70000 AS int) As b, CAST(1 AS bit) As c, "
      u"CAST('caf\u00e9' AS varchar(20)) As d, CAST(N'\u017clu\u0165' AS nvarchar(20)) As e, "
      u"CAST('long' AS varchar(max)) As f, CAST(N'l\u00f3ng' AS nvarchar(max)) As g, "
      u"CAST('old' AS text) As h, CAST(N'\u00f6ld' AS ntext) As i, "
      u"CAST('2023-12-24T18:00:00' AS datetime) As j, "
      u"CAST('2023-12-24T06:00:00.1234567' AS datetime2(7)) As k, "
      u"CAST('2023-12-24T12:00:00' AS smalldatetime) As l, CAST('2023-12-24' AS date) As m, "
      u"CAST(0x0102 AS image) As n, CAST(0x0304 AS varbinary(max)) As o, "
      u"CAST(0x0000000000000708 AS rowversion) As p, CAST(255 AS tinyint) As q, "
      u"CAST(1234567890123 AS bigint) As r, CAST(0.375 AS float) As s, CAST(2.5 AS decimal(9,2)) "
      u"As t, CAST(NULL AS nvarchar(max)) As u, CAST('x' AS char(3)) As v");
  ASSERT_EQ(row.size(), 1u);
  EXPECT_EQ(row.value(u"a"), Variant(std::int16_t{-5}));
  EXPECT_EQ(row.value(u"b"), Variant(std::int32_t{70000}));
  EXPECT_EQ(row.value(u"c"), Variant(true));
  EXPECT_EQ(row.value(u"d"), Variant(Text(u"caf\u00e9")));
  EXPECT_EQ(row.value(u"e"), Variant(Text(u"\u017clu\u0165")));
  EXPECT_EQ(row.value(u"f"), Variant(Text(u"long")));
  EXPECT_EQ(row.value(u"g"), Variant(Text(u"l\u00f3ng")));
  EXPECT_EQ(row.value(u"h"), Variant(Text(u"old")));
  EXPECT_EQ(row.value(u"i"), Variant(Text(u"\u00f6ld")));
  EXPECT_EQ(row.value(u"j"), Variant(Date{45284.75}));
  EXPECT_EQ(row.value(u"k"), Variant(Date{45284.0 + (6 * 3600 + 0.1234567) / 86400}));
  EXPECT_EQ(row.value(u"l"), Variant(Date{45284.5}));
  EXPECT_EQ(row.value(u"m"), Variant(Date{45284.0}));
  EXPECT_EQ(row.value(u"n"), Variant(Bytes{std::byte{1}, std::byte{2}}));
  EXPECT_EQ(row.value(u"o"), Variant(Bytes{std::byte{3}, std::byte{4}}));
  EXPECT_EQ(to_bytes(row.value(u"p")).size(), 8u);
  EXPECT_EQ(row.value(u"q"), Variant(std::int16_t{255}));
  EXPECT_EQ(row.value(u"r"), Variant(std::int64_t{1234567890123}));
  EXPECT_EQ(row.value(u"s"), Variant(0.375));
  EXPECT_EQ(row.value(u"t"), Variant(2.5));
  EXPECT_TRUE(is_null(row.value(u"u")));
  EXPECT_EQ(row.value(u"v"), Variant(Text(u"x  ")));
}

TEST_F(SqlServerTest, ATableOfNarrowTextsAndOldLongTypesIsWrittenByItsKey) {
  const auto session = database_->administrator();
  session->execute(
      u"CREATE TABLE Old (k varchar(20) NOT NULL, n smallint NOT NULL, t text, w ntext, i image, "
      u"d datetime2(7), s smalldatetime, a date, PRIMARY KEY (k, n))");
  const Text long_text(20'000, u'\u00e9');
  const Bytes long_bytes(20'000, std::byte{7});
  auto rows = read(*session, u"Select * From Old");
  for (const std::int16_t n : {std::int16_t{1}, std::int16_t{2}}) {
    rows.insert({{u"k", Text(u"caf\u00e9")},
                 {u"n", n},
                 {u"t", long_text},
                 {u"w", long_text},
                 {u"i", long_bytes},
                 {u"d", Date{45284.25}},
                 {u"s", Date{45284.5}},
                 {u"a", Date{45284.0}}});
  }
  session->begin();
  auto held = hold(*session, u"Select * From Old Where k = 'caf\u00e9' And n = 2");
  ASSERT_EQ(held.size(), 1u);
  held.update({{u"w", Text(u"short")}, {u"t", Null{}}, {u"i", Null{}}});
  session->commit();
  const auto again = read(*session, u"Select * From Old Order By n");
  ASSERT_EQ(again.size(), 2u);
  EXPECT_TRUE(again.value(u"t", 0) == Variant(long_text));
  EXPECT_TRUE(again.value(u"i", 0) == Variant(long_bytes));
  EXPECT_TRUE(is_null(again.value(u"t", 1)));
  EXPECT_TRUE(is_null(again.value(u"i", 1)));
  EXPECT_EQ(again.value(u"w", 1), Variant(Text(u"short")));
  EXPECT_EQ(again.value(u"d", 1), Variant(Date{45284.25}));
  EXPECT_EQ(again.value(u"s", 1), Variant(Date{45284.5}));
  EXPECT_EQ(again.value(u"a", 1), Variant(Date{45284.0}));
}

TEST_F(SqlServerTest, AReaderWaitsForAHeldRowWhereTheDatabaseReadsFromVersionsToo) {
  database_->administrator()->execute(
      join({u"ALTER DATABASE ", database_->name(),
            u" SET READ_COMMITTED_SNAPSHOT ON WITH ROLLBACK IMMEDIATE"}));
  const auto holder = database_->session();
  const auto reader = database_->session();
  reader->execute(u"SET LOCK_TIMEOUT 100");
  holder->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
  holder->begin();
  hold(*holder, kSales).update({{u"SoftLock", Text(u"HOST - now")}});
  EXPECT_EQ(error_of([&] { (void)look(*reader, kSales); }).native(), ado::kNativeLockTimeout);
  holder->rollback();
  EXPECT_EQ(look(*reader, kSales).size(), 1u);
}

TEST_F(SqlServerTest, OfTwoSessionsThatInsertTheSameKeyTheSecondWaitsAndIsThenRefused) {
  const auto first = database_->session();
  const auto second = database_->session();
  second->execute(u"SET LOCK_TIMEOUT 100");
  first->begin();
  second->begin();
  auto held_by_first = hold(*first, kSales);
  auto held_by_second = hold(*second, kSales);
  EXPECT_EQ(held_by_first.size(), 0u);
  EXPECT_EQ(held_by_second.size(), 0u);
  held_by_first.insert({{u"ReportName", Text(u"Sales")}});
  const auto insert = [&] { held_by_second.insert({{u"ReportName", Text(u"Sales")}}); };
  EXPECT_EQ(error_of(insert).native(), ado::kNativeLockTimeout);
  first->commit();
  EXPECT_EQ(error_of(insert).number(), number(AdoErrorNumber::kIntegrityViolation));
  second->rollback();
}

TEST_F(SqlServerTest, ASessionKilledInATransactionIsALostConnectionAndHoldsNothing) {
  const auto administrator = database_->administrator();
  const auto victim = database_->session();
  victim->execute(u"Insert Into DW_Reports (ReportName, Title) Values ('Sales', 'Old')");
  victim->begin();
  hold(*victim, kSales).update({{u"Title", Text(u"New")}});
  const auto id = to_int32(look(*victim, u"Select CAST(@@SPID AS int) As Id").value(u"Id"));
  administrator->execute(join({u"KILL ", decimal(id)}));
  EXPECT_THROW(victim->execute(u"Select 1 As One"), ado::ConnectionLost);
  EXPECT_THROW(victim->rollback(), ado::ConnectionLost);
  const auto other = database_->session();
  EXPECT_EQ(look(*other, kSales).value(u"Title"), Variant(Text(u"Old")));
}

TEST_F(SqlServerTest, ADeadlocksVictimKnowsItAndGoesOnAfterItsRollback) {
  const auto first = database_->session();
  const auto second = database_->session();
  first->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales'), ('Stock')");
  first->begin();
  second->begin();
  first->execute(u"Update DW_Reports Set Title = 'First' Where ReportName = 'Sales'");
  second->execute(u"Update DW_Reports Set Title = 'Second' Where ReportName = 'Stock'");
  // The server ends the deadlock by itself, and chooses its victim.
  std::int32_t first_native = 0;
  std::thread waiting([&] {
    try {
      first->execute(u"Update DW_Reports Set Title = 'First' Where ReportName = 'Stock'");
    } catch (const ado::AdoError& error) {
      first_native = error.native();
    }
  });
  std::int32_t second_native = 0;
  try {
    second->execute(u"Update DW_Reports Set Title = 'Second' Where ReportName = 'Sales'");
  } catch (const ado::AdoError& error) {
    second_native = error.native();
    second->rollback();
  }
  if (second_native == 0) second->commit();
  waiting.join();
  EXPECT_EQ(first_native + second_native, 1205);
  const auto& victim = first_native != 0 ? first : second;
  if (first_native != 0) {
    EXPECT_THROW(first->execute(u"Select 1 As One"), ado::AdoError);
    EXPECT_THROW(first->commit(), ado::AdoError);
    first->rollback();
  } else {
    first->commit();
  }
  victim->begin();
  victim->execute(u"Update DW_Reports Set Title = 'Again'");
  victim->commit();
  EXPECT_EQ(read(*victim, u"Select * From DW_Reports Where Title = 'Again'").size(), 2u);
}

}  // namespace
}  // namespace tarnwick::odbc_test
