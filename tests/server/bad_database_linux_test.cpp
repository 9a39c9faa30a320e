#include "tests/server/bad_database_test.h"

#include <unistd.h>

// Files that the user of the process may not read or write.

namespace tarnwick {
namespace {

/// The superuser may write everywhere: while this lives the process is a user that may not.
class AsNobody {
 public:
  AsNobody() {
    if (was_ == 0 && seteuid(65534) != 0) throw std::runtime_error("cannot become nobody");
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;
  ~AsNobody() {
    if (was_ == 0 && seteuid(0) != 0) std::abort();
  }

 private:
  const uid_t was_ = geteuid();
};

TEST_F(BadDatabase, ThatMayNotBeWrittenIsRefused) {
  fs::permissions(database_.file(), fs::perms(0444));
  fs::permissions(database_.folder(), fs::perms(0555));
  {
    const AsNobody nobody;
    expect_refused(database_.folder(), kPermissionDenied,
                   join({u"The database ", quoted(database_.file()),
                         u" cannot be opened: attempt to write a readonly database"}));
  }
  fs::permissions(database_.folder(), fs::perms(0755));
}

TEST_F(BadDatabase, InAFolderThatMayNotBeWrittenIsRefused) {
  fs::permissions(database_.file(), fs::perms(0666));
  fs::permissions(database_.folder(), fs::perms(0555));
  {
    const AsNobody nobody;
    EXPECT_FALSE(process_.server->set_connection(
        database_.connection_string(), EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword));
    EXPECT_TRUE(process_.message().starts_with(
        u"\r\nError in Component: 'Server', Proceedure: 'SetConnection'.\r\nError #:    \t"));
    EXPECT_NE(process_.message().find(from_utf8(database_.folder().string())), Text::npos)
        << to_display_utf8(process_.message());
  }
  fs::permissions(database_.folder(), fs::perms(0755));
  EXPECT_EQ(content(database_.folder()).size(), 1u);
}

TEST_F(BadDatabase, ThatMayNotBeReadIsRefused) {
  fs::permissions(database_.file(), fs::perms(0000));
  const AsNobody nobody;
  EXPECT_FALSE(process_.server->set_connection(
      database_.connection_string(), EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword));
  EXPECT_TRUE(process_.message().starts_with(
      u"\r\nError in Component: 'Server', Proceedure: 'SetConnection'.\r\nError #:    \t"));
  EXPECT_NE(process_.message().find(quoted(database_.file())), Text::npos)
      << to_display_utf8(process_.message());
}

}  // namespace
}  // namespace tarnwick
