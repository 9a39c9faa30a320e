#include "ado/trace.h"

#include <gtest/gtest.h>

namespace tarnwick::ado {
namespace {

std::string blanked(TextView statement) { return to_utf8(without_role_password(statement)); }

TEST(TraceTest, TheRolePasswordIsBlanked) {
  EXPECT_EQ(blanked(u"EXEC sp_setapprole 'role','secret'"), "EXEC sp_setapprole 'role','***'");
  EXPECT_EQ(blanked(u"exec SP_SetAppRole  'role' , 'secret'; more"),
            "exec SP_SetAppRole  'role' ,'***'");
  EXPECT_EQ(blanked(u"EXEC sp_setapprole '',''"), "EXEC sp_setapprole '','***'");
}

TEST(TraceTest, OtherStatementsStandAsTheyAre) {
  EXPECT_EQ(blanked(u"SET LOCK_TIMEOUT 5000"), "SET LOCK_TIMEOUT 5000");
  EXPECT_EQ(blanked(u"Select * From T Where A = 'it''s, x'"),
            "Select * From T Where A = 'it''s, x'");
  EXPECT_EQ(blanked(u""), "");
}

TEST(TraceTest, APasswordWithQuotesAndCommasIsBlankedWhole) {
  EXPECT_EQ(blanked(u"EXEC sp_setapprole 'role','se'cr','et'"), "EXEC sp_setapprole 'role','***'");
}

TEST(TraceTest, NoPartOfThePasswordShowsHoweverMalformedTheStatementIs) {
  for (const TextView statement :
       {TextView(u"EXEC sp_setapprole 'ro'le','secret'"),
        TextView(u"EXEC sp_setapprole 'r'','secret'"),
        TextView(u"EXEC sp_setapprole 'r'',''secret',x'"),
        TextView(u"EXEC sp_setapprole 'role' 'secret'"), TextView(u"EXEC sp_setapprole secret"),
        TextView(u"EXEC sp_setapprole @rolename='role', @password='secret'"),
        TextView(u"EXEC sp_setapprole 'secret"), TextView(u"EXEC sp_setapprole"),
        TextView(u"EXEC sp_setapprole  "), TextView(u"EXEC sp_setapprole 'role' "),
        TextView(u"EXEC sp_setapprole N'role',N'secret'"),
        TextView(u"EXEC sp_setapprole\r\n'role','secret'")}) {
    EXPECT_EQ(blanked(statement), "EXEC sp_setapprole '***'") << to_utf8(statement);
  }
}

}  // namespace
}  // namespace tarnwick::ado
