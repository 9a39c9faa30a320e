#include "engines/sqlite/create_database.h"

#include <gtest/gtest.h>

#include "engines/sqlite/engine.h"
#include "engines/sqlite/files.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;

TEST(CreateDatabaseOnWindows, InAFolderAndUnderANameOfAnyLetters) {
  const test_support::TemporaryFolder folder;
  const fs::path place = folder.path() / u"\u00DCbung \u20AC" / u"\u65E5\u672C \U0001F600";
  const Text name = u"Zubeh\u00F6r \u65E5\u672C";
  create_database(place, name, u"Admin", u"secret");
  EXPECT_TRUE(fs::exists(place / (name + u".db")));
  SqliteEngine engine;
  const auto session = engine.connect(ado::ConnectionString::parse(
      join({u"Provider=Tarnwick.Embedded;Data Source=", place.u16string()})));
  session->set_default_database(name);
  session->execute(u"EXEC sp_setapprole 'Admin','secret'");
  session->execute(u"Insert Into DW_Reports (ReportName) Values ('Sales')");
  session->begin();
  session->execute(u"Update DW_Reports Set SoftLock = 'HOST - now' Where ReportName = 'Sales'");
  ASSERT_EQ(session->held_rows().size(), 1u);
  session->rollback();
  EXPECT_TRUE(fs::exists(place / (name + u".db-locks")));
}

TEST(PrivateFileOnWindows, IsMadeOnceAndEmpty) {
  const test_support::TemporaryFolder folder;
  const fs::path file = folder.path() / u"\u00FC\u65E5.new";
  make_private_file(file);
  EXPECT_EQ(fs::file_size(file), 0u);
  try {
    make_private_file(file);
    FAIL() << "the second one took the place of the first";
  } catch (const fs::filesystem_error& error) {
    constexpr int kFileExists = 80;
    EXPECT_EQ(error.code(), std::error_code(kFileExists, std::system_category()));
    EXPECT_EQ(error.path1(), file);
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
