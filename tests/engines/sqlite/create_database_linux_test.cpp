#include "engines/sqlite/create_database.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>

#include "ado/error.h"
#include "engines/sqlite/byte_range_locks.h"
#include "tests/engines/sqlite/intercepting.h"
#include "tests/engines/sqlite/killing_calls.h"
#include "tests/support/forked_process.h"
#include "tests/support/plain_sqlite.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using test_support::Conversation;
using test_support::ForkedProcess;
using test_support::InterceptedCall;
using test_support::kGoOn;
using test_support::SystemCall;

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

/// Makers that are killed.
class CreateDatabaseKilled : public ::testing::Test {
 protected:
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_.path())) {
      names.push_back(entry.path().filename().string());
    }
    return names;
  }
  void create() const { create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret"); }
  std::string answer(const std::string& sql) const {
    return test_support::PlainSqlite(folder_.path() / "Velmar_Sec.db").run(sql).at(0).at(0);
  }

  test_support::TemporaryFolder folder_;
};

// Every fourth call of the system that opens, writes or removes: a password is hashed for each.
TEST_F(CreateDatabaseKilled, AtAnyStepLeaveAWholeDatabaseOrNoneAndTheNextOneLeavesNothingElse) {
  bool whole = false;
  int kill_at = 1;
  for (; !whole; kill_at += 4) {
    ASSERT_LT(kill_at, 1000);
    ForkedProcess child([&](Conversation&) {
      kill_after(kill_at);
      create();
    });
    const bool ended_well = child.ended_well();
    const auto left = files();
    const bool there = fs::exists(folder_.path() / "Velmar_Sec.db");
    if (there) {
      EXPECT_EQ(answer("SELECT RoleName FROM DW_APP_ROLE"), "Admin") << kill_at;
      EXPECT_EQ(answer("PRAGMA integrity_check"), "ok") << kill_at;
      EXPECT_EQ(files().size(), left.size()) << kill_at;
    } else {
      EXPECT_FALSE(ended_well) << kill_at;
      create();
    }
    whole = ended_well;
    EXPECT_THAT(files(), ::testing::ElementsAre("Velmar_Sec.db")) << kill_at;
    fs::remove(folder_.path() / "Velmar_Sec.db");
  }
  EXPECT_GT(kill_at, 10);  // or nothing of the making was interrupted
}

TEST_F(CreateDatabaseKilled, WhileTheyFillLeaveNoDatabaseAndTheNextOneLeavesNothingElse) {
  ForkedProcess child([&](Conversation&) {
    create_database(folder_.path(), u"Velmar_Sec", u"Admin", u"secret",
                    [](TextView /*name*/) { ::raise(SIGKILL); });
  });
  EXPECT_FALSE(child.ended_well());
  EXPECT_FALSE(fs::exists(folder_.path() / "Velmar_Sec.db"));
  EXPECT_FALSE(files().empty());
  create();
  EXPECT_THAT(files(), ::testing::ElementsAre("Velmar_Sec.db"));
}

TEST_F(CreateDatabaseKilled, AreToldFromOnesThatAreStillAtWork) {
  const auto mine = folder_.write("Velmar_Sec.new-0123456789abcdef.db", "half");
  const auto others = folder_.write("Velmar_Sec.new-0123456789abcdef.txt", "a note");
  const auto copy = folder_.write("Velmar_Sec.new-0123456789abcdef-copy.db", "half");
  const auto folder = folder_.path() / "Velmar_Sec.new-fedcba9876543210.db";
  fs::create_directory(folder);
  {
    ByteRangeLocks at_work(mine, mine);
    ASSERT_TRUE(at_work.try_lock({std::int64_t{1} << 62, std::int64_t{1} << 62}));
    create();
    EXPECT_TRUE(fs::exists(mine));
  }
  EXPECT_THROW(create(), ado::AdoError);  // there is one; but what was left behind goes
  EXPECT_FALSE(fs::exists(mine));
  for (const auto& file : {others, copy, folder}) EXPECT_TRUE(fs::exists(file)) << file;
}

/// Calls of the system that fail while a database is made.
class CreateDatabaseRefused : public CreateDatabaseKilled {
 protected:
  /// What making it ends with when calls are answered so; empty when it goes well.
  Text failure(Intercepting::Answer answer) const {
    const Intercepting calls(std::move(answer));
    try {
      create();
    } catch (const ado::AdoError& error) {
      return error.description();
    }
    return {};
  }
  [[nodiscard]] Text refusal(TextView why) const {
    return join({u"The database '", from_utf8((folder_.path() / "Velmar_Sec.db").string()),
                 u"' cannot be made: ", why});
  }
  /// Answers those calls that give the whole file its name, or take one from it, one by one.
  static Intercepting::Answer on_names(std::vector<int> answers) {
    return
        [answers = std::move(answers), next = std::size_t{0}](const InterceptedCall& call) mutable {
          const bool named = call.kind == SystemCall::kName && call.name != nullptr &&
                             fs::path(call.name).extension() == ".db";
          return named && next < answers.size() ? answers[next++] : kGoOn;
        };
  }
};

TEST_F(CreateDatabaseRefused, ByAFullDiskLeavesNothing) {
  EXPECT_EQ(failure([](const InterceptedCall& call) {
              return call.kind == SystemCall::kWrite ? ENOSPC : kGoOn;
            }),
            u"database or disk is full");
  EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(CreateDatabaseRefused, WhereNoFileCanBeMadeLeavesNothing) {
  EXPECT_EQ(failure([](const InterceptedCall& call) {
              const bool scratch = call.kind == SystemCall::kOpen &&
                                   std::string_view(call.name).find(".new-") != std::string::npos;
              return scratch ? EMFILE : kGoOn;
            }),
            refusal(u"Too many open files"));
  EXPECT_THAT(files(), ::testing::IsEmpty());
}

TEST_F(CreateDatabaseRefused, WhereItCannotBeRenamedLeavesNothing) {
  EXPECT_EQ(failure(on_names({EIO})), refusal(u"Input/output error"));
  EXPECT_THAT(files(), ::testing::IsEmpty());
}

// The way in two steps, of file systems that cannot refuse to rename over a file.
TEST_F(CreateDatabaseRefused, WhereRenamingIsNotKnownLinksTheFile) {
  for (const int unknown : {EINVAL, ENOSYS}) {
    EXPECT_EQ(failure(on_names({unknown})), u"");
    EXPECT_THAT(files(), ::testing::ElementsAre("Velmar_Sec.db"));
    EXPECT_EQ(answer("PRAGMA integrity_check"), "ok");
    fs::remove(folder_.path() / "Velmar_Sec.db");
  }
  EXPECT_EQ(failure(on_names({EINVAL, EPERM})), refusal(u"Operation not permitted"));
  EXPECT_THAT(files(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace tarnwick::sqlite
