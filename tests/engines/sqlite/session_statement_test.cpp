#include "engines/sqlite/session_statement.h"

#include <gtest/gtest.h>

#include "ado/error.h"
#include "runtime/text.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::sqlite {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

std::optional<std::int32_t> timeout_of(TextView statement) {
  const auto parsed = parse_session_statement(to_utf8(statement));
  if (!parsed || !std::holds_alternative<SetLockTimeout>(*parsed)) return std::nullopt;
  return std::get<SetLockTimeout>(*parsed).milliseconds;
}

std::optional<std::pair<Text, Text>> role_of(TextView statement) {
  const auto parsed = parse_session_statement(to_utf8(statement));
  if (!parsed || !std::holds_alternative<SetAppRole>(*parsed)) return std::nullopt;
  const auto& role = std::get<SetAppRole>(*parsed);
  return std::pair(from_utf8(role.role), from_utf8(role.password));
}

std::pair<Text, Text> texts(TextView role, TextView password) {
  return {Text(role), Text(password)};
}

TEST(SessionStatement, SetsTheLockTimeout) {
  EXPECT_EQ(timeout_of(u"SET LOCK_TIMEOUT 5000"), 5000);
  EXPECT_EQ(timeout_of(u"  set\tlock_timeout\r\n0 ; "), 0);
  EXPECT_EQ(timeout_of(u"Set Lock_Timeout -1"), -1);
  EXPECT_EQ(timeout_of(u"SET LOCK_TIMEOUT 2147483647"), 2147483647);
}

TEST(SessionStatement, RefusesAMalformedLockTimeout) {
  for (const TextView statement :
       {u"SET LOCK_TIMEOUT", u"SET LOCK_TIMEOUT x", u"SET LOCK_TIMEOUT 5 6", u"SET LOCK_TIMEOUT -2",
        u"SET LOCK_TIMEOUT 2147483648", u"SET LOCK_TIMEOUT 1.5", u"SET LOCK_TIMEOUT -",
        u"SET LOCK_TIMEOUT --5", u"SET LOCK_TIMEOUT 5; SELECT 1"}) {
    EXPECT_EQ(error_number_of([&] { return parse_session_statement(to_utf8(statement)); }),
              -2147217900)
        << to_utf8(statement);
  }
}

TEST(SessionStatement, EntersARole) {
  EXPECT_EQ(role_of(u"EXEC sp_setapprole 'reader','secret'"), texts(u"reader", u"secret"));
  EXPECT_EQ(role_of(u" execute\nSP_SETAPPROLE N'a b' , n'' ;"), texts(u"a b", u""));
}

TEST(SessionStatement, TakesTwoQuotesInATextForOne) {
  EXPECT_EQ(role_of(u"EXEC sp_setapprole 'o''brien','''x'''"), texts(u"o'brien", u"'x'"));
}

TEST(SessionStatement, RefusesAMalformedRoleStatementWithoutShowingThePassword) {
  for (const TextView statement :
       {u"EXEC sp_setapprole 'r','sec'ret'", u"EXEC sp_setapprole 'r','secret",
        u"EXEC sp_setapprole 'r'", u"EXEC sp_setapprole 'r' 'secret'",
        u"EXEC sp_setapprole 'r',N 'secret'", u"EXEC sp_setapprole",
        u"EXEC sp_setapprole r, secret", u"EXEC sp_setapprole 'r','secret'; DELETE FROM x",
        u"EXEC sp_setapprole 'r','secret','more'", u"EXEC sp_other 'secret'", u"EXEC 'secret'",
        u"EXEC", u"EXEC sp_setapprole2 'r','secret'"}) {
    const auto call = [&] { return parse_session_statement(to_utf8(statement)); };
    EXPECT_EQ(error_number_of(call), -2147217900) << to_utf8(statement);
    EXPECT_EQ(
        error_description_of(call),
        u"The only procedure here is sp_setapprole with two quoted texts: role and password.");
  }
}

TEST(SessionStatement, LeavesOtherStatementsAlone) {
  for (const TextView statement :
       {u"", u"  ", u"SELECT 1", u"SET x = 1", u"SETTINGS", u"EXECUTOR", u"SET LOCK_TIMEOUTS 5",
        u"/* x */ EXEC y", u"Select * From DW_Reports Where ReportName = 'EXEC'"}) {
    EXPECT_FALSE(parse_session_statement(to_utf8(statement))) << to_utf8(statement);
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
