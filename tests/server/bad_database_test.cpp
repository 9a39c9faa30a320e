#include "tests/server/bad_database_test.h"

namespace tarnwick {
namespace {

TEST_F(BadDatabase, InAFolderThatIsNotThereIsNamed) {
  const fs::path folder = folder_.path() / "none";
  expect_refused(folder, kUnspecified, join({u"The folder ", quoted(folder), u" does not exist."}));
  EXPECT_FALSE(fs::exists(folder)) << "and it is not made";
}

TEST_F(BadDatabase, InAFileInsteadOfAFolderIsNamed) {
  const fs::path file = folder_.write("file", "x");
  expect_refused(file, kUnspecified, join({u"The folder ", quoted(file), u" does not exist."}));
}

TEST_F(BadDatabase, InARelativeFolderIsRefused) {
  expect_refused("data", kInvalidArgument,
                 u"The folder 'data' of the connection string is not absolute; a server's own "
                 u"working folder means nothing to its clients.");
}

TEST_F(BadDatabase, InAFolderWhoseNameHoldsANulIsRefused) {
  using namespace std::string_view_literals;
  constexpr TextView kWhy =
      u"The folder of the connection string holds a NUL character or an unpaired surrogate.";
  expect_string_refused(u"Provider=Tarnwick.Embedded;Data Source=/a\0b"sv, kInvalidArgument, kWhy);
  const char16_t surrogate = 0xD800;
  process_.state.errors.set_message({});
  expect_string_refused(
      join({u"Provider=Tarnwick.Embedded;Data Source=/a", TextView(&surrogate, 1)}),
      kInvalidArgument, kWhy);
}

TEST_F(BadDatabase, WithoutAFolderIsRefused) {
  expect_string_refused(u"Provider=Tarnwick.Embedded", kInvalidArgument,
                        u"The connection string names no folder: the item 'Data Source' is "
                        u"missing.");
}

TEST_F(BadDatabase, ByAnUnknownItemIsRefusedWithoutTellingItsValue) {
  expect_string_refused(
      join({database_.connection_string(), u";Frobnicate=secret"}), kInvalidArgument,
      u"The connection string item 'Frobnicate' is not known to the embedded engine.");
}

TEST_F(BadDatabase, ThatIsMissingIsNamedAndNotMade) {
  const fs::path file = folder_.path() / "Velmar_Sec.db";
  expect_refused(folder_.path(), kUnspecified,
                 join({u"The database file ", quoted(file), u" does not exist."}));
  EXPECT_TRUE(content(folder_.path()).empty());
}

TEST_F(BadDatabase, ThatIsNoDatabaseIsNamedAndLeftAlone) {
  const fs::path file = folder_.write("Velmar_Sec.db", std::string(5000, 'x'));
  expect_refused(
      folder_.path(), kUnspecified,
      join({u"The database ", quoted(file), u" cannot be opened: file is not a database"}));
  EXPECT_EQ(fs::file_size(file), 5000u);
}

TEST_F(BadDatabase, WithoutRolesIsRefusedAndLeftAlone) {
  const fs::path file = folder_.write("Velmar_Sec.db", "");
  expect_refused(folder_.path(), kUnspecified,
                 join({u"The database ", quoted(file),
                       u" cannot be opened: it has no table DW_APP_ROLE and so no application "
                       u"role"}));
}

TEST_F(BadDatabase, WithAWrongRoleOrPasswordTellsNeitherApart) {
  constexpr TextView kRefused =
      u"The application role does not exist, or the password is not its password.";
  expect_role_refused(u"Nobody", EmbeddedDatabase::kPassword, kAuthenticationFailed, kRefused);
  expect_role_refused(EmbeddedDatabase::kRole, u"wrong", kAuthenticationFailed, kRefused);
  expect_role_refused(EmbeddedDatabase::kRole, u"SESAME", kAuthenticationFailed, kRefused);
  expect_role_refused(EmbeddedDatabase::kRole, u"", kAuthenticationFailed, kRefused);
}

TEST_F(BadDatabase, ClosedByItsRoleShowsNoRows) {
  database_.run("INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  EXPECT_FALSE(
      process_.server->set_connection(database_.connection_string(), u"Nobody", u"nothing"));
  EXPECT_TRUE(process_.state.connected()) << "the step that failed leaves it open";
  EXPECT_TRUE(process_.server->reports()->refresh());
  EXPECT_EQ(process_.server->reports()->count(), 0);
  EXPECT_NE(process_.message().find(u"Proceedure: 'GetRecordset'."), Text::npos);
}

TEST_F(BadDatabase, WithAPasswordThatNoStatementCanHoldIsRefused) {
  using namespace std::string_view_literals;
  expect_role_refused(EmbeddedDatabase::kRole, u"a'b", kCommandError,
                      u"The only procedure here is sp_setapprole with two quoted texts: role and "
                      u"password.");
  expect_role_refused(EmbeddedDatabase::kRole, u"a\0b"sv, kCommandError,
                      u"The statement holds a NUL character.");
  const char16_t surrogate = 0xD800;
  expect_role_refused(EmbeddedDatabase::kRole, TextView(&surrogate, 1), kCommandError,
                      u"The statement holds an unpaired surrogate.");
}

TEST_F(BadDatabase, WithoutATableOrAColumnIsNotConnectedTo) {
  database_.run(
      "DROP TABLE DW_SEC_PC; DROP VIEW DW_Report; ALTER TABLE DW_Reports DROP COLUMN Author");
  EXPECT_FALSE(process_.server->set_connection(
      database_.connection_string(), EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword));
  EXPECT_EQ(process_.message(),
            account(u"Server", u"SetConnection", kCommandError,
                    u"The table DW_SEC_PC is missing. The table DW_Reports lacks: Author."));
}

TEST_F(BadDatabase, ThatLosesATableLoadsTheOthersAndNamesIt) {
  ASSERT_TRUE(process_.connect());
  database_.run(
      "DROP TABLE DW_SEC_PC;"
      "INSERT INTO DW_Reports (ReportName) VALUES ('Sales')");
  EXPECT_TRUE(process_.server->refresh());
  EXPECT_EQ(process_.server->reports()->count(), 1);
  EXPECT_EQ(process_.message(),
            account(u"General", u"GetRecordset", kCommandError, u"no such table: DW_SEC_PC"));
}

TEST_F(BadDatabase, ThatLosesAColumnOfTheReportListLoadsNoReports) {
  ASSERT_TRUE(process_.connect());
  database_.run(
      "INSERT INTO DW_Reports (ReportName) VALUES ('Sales');"
      "DROP VIEW DW_Report; ALTER TABLE DW_Reports DROP COLUMN Author");
  EXPECT_TRUE(process_.server->refresh());
  EXPECT_EQ(process_.server->reports()->count(), 0);
  EXPECT_EQ(process_.message(),
            account(u"General", u"GetRecordset", kCommandError, u"no such column: Author"));
}

TEST_F(BadDatabase, ThatLosesAColumnOfTheComponentsLoadsNone) {
  ASSERT_TRUE(process_.connect());
  database_.run(
      "INSERT INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 0);"
      "ALTER TABLE DW_SEC_COMP DROP COLUMN Priority");
  EXPECT_TRUE(process_.server->refresh());
  EXPECT_EQ(process_.server->components()->count(), 0);
  EXPECT_EQ(process_.message(), account(u"General", u"RefreshComponent", 3265,
                                        u"Item cannot be found in the collection that corresponds "
                                        u"to the requested name or ordinal."));
}

TEST_F(BadDatabase, ThatAppearsLaterIsConnectedToAfterwards) {
  expect_refused(
      folder_.path(), kUnspecified,
      join({u"The database file ", quoted(folder_.path() / "Velmar_Sec.db"), u" does not exist."}));
  fs::copy_file(database_.file(), folder_.path() / "Velmar_Sec.db");
  EXPECT_TRUE(process_.server->set_connection(
      join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder_.path().string())}),
      EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword));
}

}  // namespace
}  // namespace tarnwick
