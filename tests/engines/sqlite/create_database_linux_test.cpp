#include "engines/sqlite/create_database.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;

class CreateDatabaseMode : public ::testing::Test {
 protected:
  [[nodiscard]] fs::perms of_a_new_database() const {
    create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret");
    return fs::status(folder_.path() / "Velmar_Sec.db").permissions();
  }

  test_support::TemporaryFolder folder_;
};

TEST_F(CreateDatabaseMode, LetsOnlyTheOwnerReadIt) {
  EXPECT_EQ(of_a_new_database(), fs::perms{0600});
}

TEST_F(CreateDatabaseMode, IsNotWidenedByAWideMask) {
  const auto before = ::umask(0);
  const fs::perms mode = of_a_new_database();
  ::umask(before);
  EXPECT_EQ(mode, fs::perms{0600});
}

}  // namespace
}  // namespace tarnwick::sqlite
