#include <gmock/gmock.h>
#include <fstream>
#include <functional>
#include <set>

#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using ado::AdoError;

class Connecting : public SessionTest {
 protected:
  AdoError refusal(TextView string) {
    return error_of([&] { return engine_.connect(ado::ConnectionString::parse(string)); });
  }
  /// What comes of opening the database `name`.
  AdoError opening(TextView name) {
    return error_of([&] {
      connect()->set_default_database(name);
      return 0;
    });
  }
  Text path_text(const std::string& name) const {
    return from_utf8((database_.folder() / name).string());
  }
  static std::string content(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::set<std::string> names_in_folder() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(database_.folder())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  void expect_cannot_be_opened(TextView name, TextView why) {
    const auto error = opening(name);
    EXPECT_EQ(error.number(), kUnspecified);
    EXPECT_EQ(error.description(), join({u"The database '", path_text(to_utf8(name) + ".db"),
                                         u"' cannot be opened: ", why}));
  }
};

TEST_F(Connecting, KnowsTheProviderAndTheFolder) {
  const auto session = engine_.connect(ado::ConnectionString::parse(
      join({u"PROVIDER=tarnwick.embedded;OLE DB Services=-2;data source=", path_text("")})));
  session->set_default_database(u"Velmar_Sec");
  ASSERT_EQ(engine_.providers().size(), 1u);
  EXPECT_EQ(engine_.providers()[0], u"Tarnwick.Embedded");
}

TEST_F(Connecting, PassesOverWhatOnlyTheOleDbRunTimeMinds) {
  const auto session = engine_.connect(ado::ConnectionString::parse(
      join({database_.connection_string(),
            u";Persist Security Info=False;prompt=4;Window Handle=0;Locale Identifier=1033"})));
  EXPECT_TRUE(session);
}

TEST_F(Connecting, NamesTheItemThatItDoesNotKnowButNotItsValue) {
  const auto error = refusal(join({database_.connection_string(), u";User ID=sesame"}));
  EXPECT_EQ(error.number(), 3001);
  EXPECT_EQ(error.description(),
            u"The connection string item 'User ID' is not known to the embedded engine.");
}

TEST_F(Connecting, WantsAFolder) {
  for (const TextView string :
       {u"Provider=Tarnwick.Embedded", u"Provider=Tarnwick.Embedded;Data Source="}) {
    const auto error = refusal(string);
    EXPECT_EQ(error.number(), 3001);
    EXPECT_EQ(error.description(),
              u"The connection string names no folder: the item 'Data Source' is missing.");
  }
}

TEST_F(Connecting, RefusesARelativeFolder) {
  for (const TextView folder : {u"var", u"./var", u"../var", u"~/var"}) {
    const auto error = refusal(join({u"Provider=Tarnwick.Embedded;Data Source=", folder}));
    EXPECT_EQ(error.number(), 3001);
    EXPECT_EQ(error.description(),
              join({u"The folder '", folder,
                    u"' of the connection string is not absolute; a server's own working folder "
                    u"means nothing to its clients."}));
  }
}

TEST_F(Connecting, RefusesAFolderThatNoFileSystemCanHave) {
  const Text nul = join({path_text(""), TextView(u"a\0b", 3)});
  EXPECT_EQ(refusal(join({u"Provider=Tarnwick.Embedded;Data Source=", nul})).number(), 3001);
  EXPECT_EQ(refusal(u"Provider=Tarnwick.Embedded;Data Source=/\xD800").number(), 3001);
}

TEST_F(Connecting, SaysThatTheFolderIsNotThere) {
  const auto error =
      refusal(join({u"Provider=Tarnwick.Embedded;Data Source=", path_text("nowhere")}));
  EXPECT_EQ(error.number(), kUnspecified);
  EXPECT_EQ(error.description(),
            join({u"The folder '", path_text("nowhere"), u"' does not exist."}));
}

TEST_F(Connecting, SaysThatTheDatabaseIsNotThereAndMakesNone) {
  const auto error = opening(u"Other");
  EXPECT_EQ(error.number(), kUnspecified);
  EXPECT_EQ(error.native(), 911);
  EXPECT_EQ(error.description(),
            join({u"The database file '", path_text("Other.db"), u"' does not exist."}));
  EXPECT_FALSE(fs::exists(database_.folder() / "Other.db"));
  EXPECT_FALSE(fs::exists(database_.folder() / "Other.db-locks"));
}

TEST_F(Connecting, RefusesADatabaseNameThatLeavesTheFolder) {
  for (const TextView name : {TextView(u"../x"), TextView(u"a/b"), TextView(), TextView(u".."),
                              TextView(u".x"), TextView(u"a\0b", 3)}) {
    const auto error = opening(name);
    EXPECT_EQ(error.number(), 3001);
    EXPECT_EQ(error.description(), join({u"'", name, u"' cannot be the name of a database."}));
  }
}

TEST_F(Connecting, SaysThatAFileIsNoDatabase) {
  std::ofstream(database_.folder() / "Text.db") << std::string(5000, 'x');
  expect_cannot_be_opened(u"Text", u"file is not a database");
}

TEST_F(Connecting, SaysThatADatabaseIsNotOneOfOurs) {
  std::ofstream(database_.folder() / "Empty.db").close();
  expect_cannot_be_opened(u"Empty", u"it has no table DW_APP_ROLE and so no application role");
}

TEST_F(Connecting, LeavesAFileThatItRefusesAsItIs) {
  std::ofstream(database_.folder() / "Empty.db").close();
  fs::copy_file(database_.file(), database_.folder() / "Other.db");
  test_support::PlainSqlite(database_.folder() / "Other.db")
      .run("PRAGMA journal_mode = DELETE; DROP TABLE DW_APP_ROLE");
  for (const TextView name : {u"Empty", u"Other"}) {
    const auto file = database_.folder() / (to_utf8(name) + ".db");
    const auto before = content(file);
    const auto files = names_in_folder();
    expect_cannot_be_opened(name, u"it has no table DW_APP_ROLE and so no application role");
    EXPECT_TRUE(content(file) == before) << file;
    EXPECT_EQ(names_in_folder(), files);
  }
}

TEST_F(Connecting, WritesNothingBeforeTheRoleWasEntered) {
  database_.run("PRAGMA journal_mode = DELETE");
  const auto before = content(database_.file());
  {
    const auto session = connect();
    session->set_default_database(u"Velmar_Sec");
    EXPECT_EQ(error_of([&] {
                session->execute(u"EXEC sp_setapprole 'Maintainer','wrong'");
                return 0;
              }).number(),
              -2147217843);
  }
  EXPECT_TRUE(content(database_.file()) == before);
}

TEST_F(Connecting, RefusesTablesOfANewerVersion) {
  database_.run("PRAGMA user_version = 2");
  const auto before = content(database_.file());
  expect_cannot_be_opened(u"Velmar_Sec",
                          u"its tables are of version 2, which is newer than this program; it "
                          u"knows versions up to 1");
  EXPECT_TRUE(content(database_.file()) == before);
}

TEST_F(Connecting, TakesTablesThatBearNoVersionWhereSomebodyMadeThemOtherwise) {
  EXPECT_EQ(database_.value("PRAGMA user_version"), "1");
  database_.run("PRAGMA user_version = 0; DROP TABLE DW_ROW_VERSION");
  EXPECT_EQ(read(*open_session(), kAllReports).size(), 0u);
}

TEST_F(Connecting, TellsTheColumnsOfTables) {
  database_.run("CREATE TABLE T (a PRIMARY KEY, \"b c\" INT, d AS (a || 'x')) WITHOUT ROWID");
  const auto session = open_session();
  using Names = std::vector<Text>;
  EXPECT_EQ(session->columns_of(u"t"), (Names{u"a", u"b c", u"d"}));
  EXPECT_EQ(session->columns_of(u"nowhere"), Names{});
  const auto columns = session->columns_of(u"DW_SEC_COMP");
  ASSERT_TRUE(columns.has_value());
  EXPECT_EQ(columns->size(), 14u);
  EXPECT_EQ(columns->front(), u"CompID");
  EXPECT_EQ(session->columns_of(u"DW_Report")->size(), 16u);
}

TEST_F(Connecting, SaysThatADirectoryIsNoDatabase) {
  fs::create_directory(database_.folder() / "Folder.db");
  EXPECT_EQ(opening(u"Folder").native(), 911);
}

TEST_F(Connecting, SaysThatTheHeadOfTheFileIsDamaged) {
  { std::fstream(database_.file()).write("SQLite format 3", 15).write("X", 1); }
  expect_cannot_be_opened(u"Velmar_Sec", u"file is not a database");
}

TEST_F(Connecting, OpensADatabaseOfAnotherJournalAndChangesItToTheLog) {
  database_.run("PRAGMA journal_mode = DELETE");
  const auto session = open_session();
  EXPECT_EQ(database_.value("PRAGMA journal_mode"), "wal");
}

TEST_F(Connecting, NothingWorksBeforeADatabaseWasChosen) {
  const auto session = connect();
  session->execute(u"SET LOCK_TIMEOUT 10");
  for (const auto& step : std::initializer_list<std::function<void()>>{
           [&] { session->execute(u"Delete From DW_Reports"); },
           [&] { (void)session->open({.statement = kAllReports}); },
           [&] { session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'"); },
           [&] { session->begin(); }, [&] { (void)session->held_rows(); }}) {
    const auto error = error_of([&] {
      step();
      return 0;
    });
    EXPECT_EQ(error.number(), kUnspecified);
    EXPECT_EQ(error.description(), u"No database has been chosen.");
  }
}

TEST_F(Connecting, NothingIsReadOrWrittenBeforeTheRoleWasEntered) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  for (const auto& step : std::initializer_list<std::function<void()>>{
           [&] { session->execute(u"Delete From DW_Reports"); },
           [&] { (void)session->open({.statement = kAllReports}); },
           [&] { (void)session->held_rows(); }}) {
    const auto error = error_of([&] {
      step();
      return 0;
    });
    EXPECT_EQ(error.number(), kPermissionDenied);
    EXPECT_EQ(error.native(), 229);
    EXPECT_EQ(error.description(), u"Permission was denied: no application role has been entered.");
  }
}

TEST_F(Connecting, AWrongRoleAndAWrongPasswordLookAlike) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  for (const TextView statement :
       {u"EXEC sp_setapprole 'Maintainer','Sesame'", u"EXEC sp_setapprole 'Nobody','sesame'",
        u"EXEC sp_setapprole 'Maintainer',''", u"EXEC sp_setapprole '','sesame'"}) {
    const auto error = error_of([&] {
      session->execute(statement);
      return 0;
    });
    EXPECT_EQ(error.number(), -2147217843);
    EXPECT_EQ(error.native(), 15161);
    EXPECT_EQ(error.description(),
              u"The application role does not exist, or the password is not its password.");
  }
  session->execute(u"EXEC sp_setapprole 'MAINTAINER','sesame'");
  session->execute(u"Delete From DW_Reports");
}

TEST_F(Connecting, ARoleIsEnteredOnceAndOutsideATransaction) {
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  session->begin();
  const auto enter = [&] {
    session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    return 0;
  };
  EXPECT_EQ(error_of(enter).description(),
            u"An application role cannot be entered inside a transaction.");
  session->rollback();
  enter();
  EXPECT_EQ(error_of(enter).description(), u"The session has entered an application role already.");
}

TEST_F(Connecting, ADamagedRoleRowIsNoWayIn) {
  for (const char* damage : {"Iterations = 0", "Iterations = 2000000000", "Iterations = 'x'",
                             "Hash = x''", "Salt = x''"}) {
    database_.run(std::string("UPDATE DW_APP_ROLE SET ") + damage);
    const auto session = connect();
    session->set_default_database(u"Velmar_Sec");
    const auto error = error_of([&] {
      session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
      return 0;
    });
    EXPECT_EQ(error.number(), kUnspecified) << damage;
    EXPECT_EQ(error.description(), u"The application role's row in DW_APP_ROLE is damaged.");
  }
}

TEST_F(Connecting, TheDatabaseIsFixedOnceTheRoleIsEntered) {
  const auto session = open_session();
  session->set_default_database(u"Velmar_Sec");
  const auto error = error_of([&] {
    session->set_default_database(u"Other");
    return 0;
  });
  EXPECT_EQ(error.number(), kPermissionDenied);
}

TEST_F(Connecting, TheDatabaseIsFixedAsLongAsATransactionLasts) {
  fs::copy_file(database_.file(), database_.folder() / "Other.db");
  const auto session = connect();
  session->set_default_database(u"Velmar_Sec");
  session->begin();
  const auto change = [&] {
    session->set_default_database(u"Other");
    return 0;
  };
  EXPECT_EQ(error_of(change).number(), kPermissionDenied);
  session->rollback();
  change();
  session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
  session->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_Reports"), "0");
  EXPECT_EQ(test_support::PlainSqlite(database_.folder() / "Other.db")
                .run("SELECT count(*) FROM DW_Reports")
                .at(0)
                .at(0),
            "1");
}

}  // namespace
}  // namespace tarnwick::sqlite
