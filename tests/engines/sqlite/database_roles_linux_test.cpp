#include <unistd.h>

#include "engines/sqlite/database_roles.h"
#include "tests/engines/sqlite/killing_calls.h"
#include "tests/engines/sqlite/session_test.h"
#include "tests/support/forked_process.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using test_support::Conversation;
using test_support::ForkedProcess;

/// Roles that are changed in processes of their own.
class RolesInAnotherProcess : public SessionTest {
 protected:
  [[nodiscard]] DatabaseRoles open() const {
    return {database_.folder(), test_support::EmbeddedDatabase::kName, u"Maintainer", u"sesame"};
  }
  [[nodiscard]] bool admits(TextView password) const {
    try {
      static_cast<void>(DatabaseRoles(database_.folder(), test_support::EmbeddedDatabase::kName,
                                      u"Maintainer", password));
      return true;
    } catch (const ado::AdoError&) {
      return false;
    }
  }
};

TEST_F(RolesInAnotherProcess, OfAUserWhoMayNotWriteTheFileAreRefused) {
  constexpr uid_t kNobody = 65534;
  fs::permissions(database_.file(), fs::perms{0444});
  ForkedProcess child([&](Conversation& test) {
    if (::geteuid() == 0 && ::setuid(kNobody) != 0) throw std::runtime_error("setuid");
    const auto error = error_of([&] { return open(); });
    test.say(to_utf8(error.description()));
  });
  EXPECT_EQ(child.hear(), "The application roles of '" + database_.file().string() +
                              "' cannot be maintained: attempt to write a readonly database");
}

TEST_F(RolesInAnotherProcess, KilledAtAnyStepHaveTheOldPasswordOrTheNewOne) {
  bool done = false;
  int kill_at = 1;
  for (; !done; ++kill_at) {
    ASSERT_LT(kill_at, 1000);
    ForkedProcess child([&](Conversation&) {
      auto roles = open();
      kill_after(kill_at);
      static_cast<void>(roles.set_password(u"Maintainer", u"new"));
    });
    done = child.ended_well();
    EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok") << kill_at;
    const bool changed = admits(u"new");
    EXPECT_TRUE(changed || !done) << kill_at;
    EXPECT_NE(changed, admits(u"sesame")) << kill_at;
    if (changed)
      static_cast<void>(DatabaseRoles(database_.folder(), test_support::EmbeddedDatabase::kName,
                                      u"Maintainer", u"new")
                            .set_password(u"Maintainer", u"sesame"));
  }
  EXPECT_GT(kill_at, 3);  // or nothing of it was interrupted
}

}  // namespace
}  // namespace tarnwick::sqlite
