#include "engines/sqlite/database_roles.h"

#include <gmock/gmock.h>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

using ::testing::ElementsAre;
using Change = DatabaseRoles::Change;

constexpr std::int32_t kAuthenticationFailed = -2147217843;

/// A database with the role "Maintainer", whose password is "sesame".
class Roles : public SessionTest {
 protected:
  [[nodiscard]] DatabaseRoles open(TextView role = u"Maintainer",
                                   TextView password = u"sesame") const {
    return {database_.folder(), test_support::EmbeddedDatabase::kName, role, password};
  }

  [[nodiscard]] std::unique_ptr<ado::EngineSession> enter(TextView role, TextView password) {
    auto session = connect();
    session->set_default_database(test_support::EmbeddedDatabase::kName);
    session->execute(join({u"EXEC sp_setapprole '", role, u"','", password, u"'"}));
    return session;
  }
  [[nodiscard]] bool may_enter(TextView role, TextView password) {
    try {
      return enter(role, password) != nullptr;
    } catch (const ado::AdoError& error) {
      EXPECT_EQ(error.number(), kAuthenticationFailed);
      return false;
    }
  }

  [[nodiscard]] test_support::PlainSqlite::Rows stored() const {
    return database_.run("SELECT * FROM DW_APP_ROLE ORDER BY RoleName");
  }
  void expect_refused(TextView why) const {
    EXPECT_EQ(error_of([&] { return open(); }).description(),
              join({u"The application roles of '", from_utf8(database_.file().string()),
                    u"' cannot be maintained: ", why}));
  }
};

TEST_F(Roles, AreListedInOrder) {
  auto roles = open();
  EXPECT_THAT(roles.names(), ElementsAre(u"Maintainer"));
  EXPECT_EQ(roles.add(u"zone", u"a"), Change::kDone);
  EXPECT_EQ(roles.add(u"Area", u"b"), Change::kDone);
  EXPECT_THAT(roles.names(), ElementsAre(u"Area", u"Maintainer", u"zone"));
  EXPECT_TRUE(roles.has(u"AREA"));
  EXPECT_FALSE(roles.has(u"Are"));
}

TEST_F(Roles, AreListedHoweverManyThereAre) {
  database_.run(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
      "INSERT INTO DW_APP_ROLE SELECT printf('%04d', i), Salt, Iterations, Hash FROM n, "
      "DW_APP_ROLE");
  EXPECT_EQ(open().names().size(), 5001u);
}

TEST_F(Roles, ThatWereAddedAdmitWithTheirPassword) {
  EXPECT_EQ(open().add(u"Büro", u"pässwörd"), Change::kDone);
  EXPECT_TRUE(may_enter(u"Büro", u"pässwörd"));
  EXPECT_FALSE(may_enter(u"Büro", u"sesame"));
  EXPECT_TRUE(may_enter(u"Maintainer", u"sesame"));
}

TEST_F(Roles, AreNotAddedTwice) {
  const auto before = stored();
  EXPECT_EQ(open().add(u"MAINTAINER", u"other"), Change::kExists);
  EXPECT_EQ(stored(), before);
}

TEST_F(Roles, WithANewPasswordAdmitWithThatAlone) {
  EXPECT_EQ(open().set_password(u"maintainer", u"other"), Change::kDone);
  EXPECT_FALSE(may_enter(u"Maintainer", u"sesame"));
  EXPECT_TRUE(may_enter(u"Maintainer", u"other"));
  EXPECT_EQ(stored().at(0).at(0), "Maintainer");
}

TEST_F(Roles, AreGivenASaltOfTheirOwnWithEachPassword) {
  const auto before = stored();
  EXPECT_EQ(open().set_password(u"Maintainer", u"sesame"), Change::kDone);
  const auto after = stored();
  EXPECT_NE(after.at(0).at(1), before.at(0).at(1));
  EXPECT_NE(after.at(0).at(3), before.at(0).at(3));
  EXPECT_TRUE(may_enter(u"Maintainer", u"sesame"));
}

TEST_F(Roles, ThatAreNotThereAreNeitherChangedNorRemoved) {
  const auto before = stored();
  EXPECT_EQ(open().set_password(u"Other", u"other"), Change::kMissing);
  EXPECT_EQ(open().remove(u"Other"), Change::kMissing);
  EXPECT_EQ(stored(), before);
}

TEST_F(Roles, AreRemovedUpToTheLastOne) {
  auto roles = open();
  EXPECT_EQ(roles.remove(u"Maintainer"), Change::kLast);
  EXPECT_EQ(roles.add(u"Other", u"other"), Change::kDone);
  EXPECT_EQ(roles.remove(u"MAINTAINER"), Change::kDone);
  EXPECT_EQ(roles.remove(u"Other"), Change::kLast);
  EXPECT_THAT(roles.names(), ElementsAre(u"Other"));
  EXPECT_FALSE(may_enter(u"Maintainer", u"sesame"));
  EXPECT_TRUE(may_enter(u"Other", u"other"));
}

TEST_F(Roles, MayChangeUnderWhoHasEnteredThem) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  const auto session = open_session();
  auto roles = open();
  EXPECT_EQ(roles.add(u"Other", u"other"), Change::kDone);
  EXPECT_EQ(roles.set_password(u"Maintainer", u"new"), Change::kDone);
  EXPECT_EQ(read(*session, kSales).size(), 1u);
  EXPECT_EQ(roles.remove(u"Maintainer"), Change::kDone);
  session->execute(u"UPDATE DW_Reports SET Title = 'New'");
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports"), "New");
}

TEST_F(Roles, MayChangeWhileARowIsHeld) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  const auto session = open_session();
  session->begin();
  const auto held = hold(*session, kSales);
  held.update({{u"Title", Text(u"New")}});
  EXPECT_EQ(open().set_password(u"Maintainer", u"new"), Change::kDone);
  session->commit();
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports"), "New");
  EXPECT_TRUE(may_enter(u"Maintainer", u"new"));
}

TEST_F(Roles, AreOpenOnlyToWhoKnowsOne) {
  for (const auto& [role, password] :
       {std::pair<TextView, TextView>{u"Maintainer", u"Sesame"}, {u"Other", u"sesame"}}) {
    const auto error =
        error_of([&, role = role, password = password] { return open(role, password); });
    EXPECT_EQ(error.number(), kAuthenticationFailed);
    EXPECT_EQ(error.native(), 15161);
    EXPECT_EQ(error.description(),
              u"The application role does not exist, or the password is not its password.");
  }
}

TEST_F(Roles, NeedANameThatAFileCanKeep) {
  auto roles = open();
  const auto before = stored();
  EXPECT_EQ(error_of([&] { return roles.add(u"", u"x"); }).number(), kInvalidArgument);
  EXPECT_EQ(error_of([&] { return roles.add(u"\xD800", u"x"); }).number(), kInvalidArgument);
  EXPECT_EQ(error_of([&] { return roles.add(u"x", TextView(u"a\0b", 3)); }).number(),
            kInvalidArgument);
  EXPECT_EQ(error_of([&] { return roles.set_password(u"Maintainer", u"\xDC00"); }).number(),
            kInvalidArgument);
  EXPECT_EQ(stored(), before);
}

TEST_F(Roles, AreNotChangedWhereTheFileRefuses) {
  auto roles = open();
  const auto before = stored();
  database_.run(
      "CREATE TRIGGER No BEFORE UPDATE ON DW_APP_ROLE BEGIN SELECT RAISE(ABORT, 'not so'); END");
  EXPECT_EQ(error_of([&] { return roles.set_password(u"Maintainer", u"new"); }).description(),
            join({u"The application roles of '", from_utf8(database_.file().string()),
                  u"' cannot be maintained: not so"}));
  database_.run("DROP TRIGGER No");
  EXPECT_EQ(stored(), before);
  EXPECT_EQ(roles.set_password(u"Maintainer", u"new"), Change::kDone);
}

TEST_F(Roles, AreThoseOfTablesOfThisVersion) {
  database_.run("PRAGMA user_version = 2");
  expect_refused(
      u"its tables are of version 2, which is newer than this program; it knows versions up to 1");
  database_.run("PRAGMA user_version = 0");
  expect_refused(
      u"its tables are of version 0, which is older than this program; run 'tarnwick upgrade', "
      u"which brings them to version 1");
  database_.run("DROP TABLE DW_APP_ROLE");
  expect_refused(u"it has no table DW_APP_ROLE and so no application role");
}

TEST_F(Roles, AreThoseOfADatabaseThatIsThere) {
  std::filesystem::remove(database_.file());
  EXPECT_EQ(error_of([&] { return open(); }).native(), 911);
  EXPECT_FALSE(std::filesystem::exists(database_.file()));
}

}  // namespace
}  // namespace tarnwick::sqlite
