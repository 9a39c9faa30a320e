#include "engines/sqlite/create_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "ado/error.h"
#include "engines/sqlite/engine.h"
#include "tests/support/plain_sqlite.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::sqlite {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;
using test_support::PlainSqlite;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

constexpr std::int32_t kUnspecified = -2147467259;
constexpr std::int32_t kInvalidArgument = 3001;

class CreateDatabase : public ::testing::Test {
 protected:
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_.path())) {
      names.push_back(entry.path().lexically_relative(folder_.path()).generic_string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  Text path_text(const char* name) const {
    return from_utf8((folder_.path() / name).make_preferred().string());
  }

  test_support::TemporaryFolder folder_;
};

TEST_F(CreateDatabase, MakesOneFile) {
  create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret");
  EXPECT_THAT(files(), ElementsAre("Velmar_Sec.db"));
}

TEST_F(CreateDatabase, MakesTheFolderThatIsMissing) {
  create_database(folder_.path() / "a" / "b", u"Velmar_Sec", u"Admin", u"secret");
  EXPECT_THAT(files(), ElementsAre("a", "a/b", "a/b/Velmar_Sec.db"));
}

TEST_F(CreateDatabase, HasNoRowsAndOneRoleWhosePasswordIsNotToBeFound) {
  create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"open sesame");
  PlainSqlite database(folder_.path() / "Velmar_Sec.db");
  EXPECT_THAT(database.run("SELECT count(*) FROM DW_SEC_COMP UNION ALL SELECT count(*) FROM "
                           "DW_SEC_PC UNION ALL SELECT count(*) FROM DW_Reports"),
              ElementsAre(ElementsAre("0"), ElementsAre("0"), ElementsAre("0")));
  EXPECT_THAT(
      database.run("SELECT RoleName, Iterations, length(Salt), length(Hash) FROM DW_APP_ROLE"),
      ElementsAre(ElementsAre("Admin", "210000", "16", "64")));
  EXPECT_THAT(database.run("PRAGMA journal_mode"), ElementsAre(ElementsAre("wal")));
  std::ifstream file(folder_.path() / "Velmar_Sec.db", std::ios::binary);
  const std::string bytes{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(bytes.find("open sesame"), std::string::npos);
}

TEST_F(CreateDatabase, SaltsEveryPasswordAnew) {
  create_database(folder_.path(), u"One", u"Admin", u"secret");
  create_database(folder_.path(), u"Two", u"Admin", u"secret");
  const auto hash = [&](const char* name) {
    return PlainSqlite(folder_.path() / name).run("SELECT Salt, Hash FROM DW_APP_ROLE").at(0);
  };
  EXPECT_NE(hash("One.db")[0], hash("Two.db")[0]);
  EXPECT_NE(hash("One.db")[1], hash("Two.db")[1]);
}

TEST_F(CreateDatabase, LetsTheRoleInAndNobodyElse) {
  create_database(folder_.path(), u"Velmar_Sec", u"Ärzte", u"päss'wörd");
  SqliteEngine engine;
  const auto session = engine.connect(ado::ConnectionString::parse(
      join({u"Provider=Tarnwick.Embedded;Data Source=", path_text("")})));
  session->set_default_database(u"Velmar_Sec");
  EXPECT_EQ(error_number_of([&] {
              session->execute(u"EXEC sp_setapprole 'Ärzte','pässwörd'");
              return 0;
            }),
            -2147217843);
  session->execute(u"EXEC sp_setapprole 'Ärzte','päss''wörd'");
  session->execute(u"Select * From DW_Reports");
}

TEST_F(CreateDatabase, RefusesToOverwriteAndLeavesTheFileAsItWas) {
  const auto file = folder_.write("Velmar_Sec.db", "precious");
  const auto call = [&] {
    create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret");
    return 0;
  };
  EXPECT_EQ(error_number_of(call), kUnspecified);
  EXPECT_EQ(error_description_of(call), join({u"The database '", path_text("Velmar_Sec.db"),
                                              u"' cannot be made: there is a file '",
                                              path_text("Velmar_Sec.db"), u"' already."}));
  std::ifstream stream(file);
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>(stream), {}}), "precious");
  EXPECT_THAT(files(), ElementsAre("Velmar_Sec.db"));
}

TEST_F(CreateDatabase, RefusesToStandBesideTheLogOfALostDatabase) {
  folder_.write("Velmar_Sec.db-wal", "rest");
  EXPECT_EQ(
      error_description_of([&] {
        create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret");
        return 0;
      }),
      join({u"The database '", path_text("Velmar_Sec.db"), u"' cannot be made: there is a file '",
            path_text("Velmar_Sec.db-wal"), u"' already."}));
  EXPECT_THAT(files(), ElementsAre("Velmar_Sec.db-wal"));
}

TEST_F(CreateDatabase, LeavesNothingBehindWhereTheFolderCannotBeMade) {
  folder_.write("file", "");
  const auto call = [&] {
    create_database(folder_.path() / "file" / "a", u"Velmar_Sec", u"Admin", u"secret");
    return 0;
  };
  EXPECT_EQ(error_number_of(call), kUnspecified);
  EXPECT_EQ(error_description_of(call), join({u"The database '", path_text("file/a/Velmar_Sec.db"),
                                              u"' cannot be made: Not a directory"}));
  EXPECT_THAT(files(), ElementsAre("file"));
}

TEST_F(CreateDatabase, RemovesTheFoldersThatItMadeWhereItFails) {
  EXPECT_THROW(create_database(folder_.path() / "a" / "b", u"Velmar_Sec", u"Admin", u"secret",
                               [](TextView /*name*/) { throw std::runtime_error("no rows"); }),
               std::runtime_error);
  EXPECT_THAT(files(), IsEmpty());
}

TEST_F(CreateDatabase, MakesAFolderBelowTheOneThatItIsRunIn) {
  const auto before = fs::current_path();
  fs::current_path(folder_.path());
  create_database("a", u"Velmar_Sec", u"Admin", u"secret");
  fs::current_path(before);
  EXPECT_THAT(files(), ElementsAre("a", "a/Velmar_Sec.db"));
}

TEST_F(CreateDatabase, RefusesNamesAndRolesThatCannotBe) {
  const auto number = [&](TextView name, TextView role, TextView password) {
    return error_number_of([&] {
      create_database(folder_.path() / "new", name, role, password);
      return 0;
    });
  };
  EXPECT_EQ(number(u"Velmar_Sec", u"", u"secret"), kInvalidArgument);
  EXPECT_EQ(number(u"Velmar_Sec", TextView(u"a\0b", 3), u"secret"), kInvalidArgument);
  EXPECT_EQ(number(u"Velmar_Sec", u"Admin", TextView(u"a\0b", 3)), kInvalidArgument);
  EXPECT_EQ(number(u"Velmar_Sec", u"\xD800", u"secret"), kInvalidArgument);
  for (const TextView name : {u"", u"..", u"../x", u"a/b", u"a\\b", u".hidden", u"\xD800"}) {
    EXPECT_EQ(number(name, u"Admin", u"secret"), kInvalidArgument) << to_display_utf8(name);
  }
  EXPECT_THAT(files(), IsEmpty());
}

}  // namespace
}  // namespace tarnwick::sqlite
