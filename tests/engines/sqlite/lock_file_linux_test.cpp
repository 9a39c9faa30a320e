#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "engines/sqlite/holder.h"
#include "tests/engines/sqlite/session_test.h"
#include "tests/support/forked_process.h"

// What may stand where the lock file is looked for, and which lock file belongs to a database.

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using test_support::Conversation;
using test_support::ForkedProcess;

class LockFile : public SessionTest {
 protected:
  fs::path lock_file() const { return database_.file().string() + "-locks"; }
  fs::path write(const char* name, const std::string& content) const {
    const auto file = database_.folder() / name;
    std::ofstream(file) << content;
    return file;
  }
  static std::string content(const fs::path& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void expect_refused(TextView why) {
    const auto error = error_of([&] { return open_session(); });
    EXPECT_EQ(error.number(), kPermissionDenied);
    EXPECT_EQ(error.description(), join({u"The database '", from_utf8(database_.file().string()),
                                         u"' cannot be opened: The lock file '",
                                         from_utf8(lock_file().string()), u"' ", why, u"."}));
  }
  /// A session that reaches the database `name` in `folder`.
  std::unique_ptr<ado::EngineSession> session_in(const fs::path& folder, TextView name) {
    auto session = engine_.connect(ado::ConnectionString::parse(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.string())})));
    session->set_default_database(name);
    session->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    session->execute(u"SET LOCK_TIMEOUT 0");
    return session;
  }
  void expect_common_locks(ado::EngineSession& one, ado::EngineSession& other) {
    one.begin();
    EXPECT_EQ(hold(one, kSales).size(), 1u);
    other.begin();
    EXPECT_EQ(hold(other, kSales).size(), 0u);
    other.rollback();
    one.rollback();
  }
};

TEST_F(LockFile, IsNoLinkToSomebodysFile) {
  const auto victim = write("victim", "precious");
  fs::create_symlink(victim, lock_file());
  expect_refused(u"is a link");
  EXPECT_EQ(content(victim), "precious");
}

TEST_F(LockFile, IsNoLinkThatLeadsNowhere) {
  fs::create_symlink(database_.folder() / "victim", lock_file());
  expect_refused(u"is a link");
  EXPECT_FALSE(fs::exists(database_.folder() / "victim"));
}

TEST_F(LockFile, IsNoPipe) {
  ASSERT_EQ(::mkfifo(lock_file().c_str(), 0600), 0);
  expect_refused(u"is no regular file");
}

TEST_F(LockFile, MayNotBelongToWhoMayNotWriteTheDatabase) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to give files away";
  constexpr uid_t kNobody = 65534;
  write("Velmar_Sec.db-locks", "");
  fs::permissions(lock_file(), fs::perms{0666});
  ASSERT_EQ(::chown(lock_file().c_str(), kNobody, kNobody), 0);
  fs::permissions(database_.file(), fs::perms{0600});
  expect_refused(u"belongs to somebody who may not write the database");
  // In a folder that a group shares whoever of them comes first makes the file.
  ASSERT_EQ(::chown(database_.file().c_str(), 0, kNobody), 0);
  expect_refused(u"belongs to somebody who may not write the database");
  fs::permissions(database_.file(), fs::perms{0660});
  EXPECT_NE(open_session(), nullptr);
}

TEST_F(LockFile, IsSharedByAGroup) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to be several users";
  constexpr gid_t kGroup = 4321;
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  fs::permissions(database_.folder(), fs::perms{0770});
  fs::permissions(database_.file(), fs::perms{0660});
  ASSERT_EQ(::chown(database_.folder().c_str(), 1001, kGroup), 0);
  ASSERT_EQ(::chown(database_.file().c_str(), 1001, kGroup), 0);
  const auto as_member = [&](uid_t user) {
    return [this, user](Conversation& test) {
      if (::setgid(kGroup) != 0 || ::setuid(user) != 0) throw std::runtime_error("setuid");
      ::umask(0077);
      const auto session = open_session();
      session->begin();
      test.say(std::to_string(hold(*session, kSales).size()));
      (void)test.hear();
    };
  };
  ForkedProcess anna(as_member(1002));
  EXPECT_EQ(anna.hear(), "1");
  ForkedProcess bert(as_member(1003));
  EXPECT_EQ(bert.hear(), "0");
}

TEST_F(LockFile, TellsTheNumberOfAUserWhoHasNoName) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to be several users";
  ASSERT_EQ(::seteuid(54321), 0);
  const auto holder = present_process();
  ASSERT_EQ(::seteuid(0), 0);
  EXPECT_EQ(holder.user, "54321");
}

TEST_F(LockFile, IsOneForAllWaysToOneDatabase) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  const test_support::TemporaryFolder elsewhere;
  fs::create_symlink(database_.file(), elsewhere.path() / "Linked.db");
  fs::create_symlink("Linked.db", elsewhere.path() / "Twice.db");
  fs::create_directory_symlink(database_.folder(), elsewhere.path() / "folder");
  const auto straight = open_session();
  for (const auto& [folder, name] :
       {std::pair{elsewhere.path(), u"Linked"}, std::pair{elsewhere.path(), u"Twice"},
        std::pair{elsewhere.path() / "folder", u"Velmar_Sec"}}) {
    const auto other = session_in(folder, name);
    expect_common_locks(*straight, *other);
    expect_common_locks(*other, *straight);
  }
  EXPECT_FALSE(fs::exists(elsewhere.path() / "Linked.db-locks"));
  EXPECT_FALSE(fs::exists(elsewhere.path() / "Twice.db-locks"));
}

}  // namespace
}  // namespace tarnwick::sqlite
