#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <fstream>
#include <string>

#include "ado/error.h"
#include "tests/engines/sqlite/intercepting.h"
#include "tests/engines/sqlite/two_lock_files.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;
using test_support::InterceptedCall;
using test_support::kGoOn;
using test_support::SystemCall;

TEST_F(TwoLockFiles, UnlockTheMiddleOfARange) {
  ASSERT_TRUE(first_.try_lock({1, 9}));
  first_.unlock({4, 6});
  EXPECT_TRUE(second_.try_lock({4, 6}));
  EXPECT_FALSE(second_.try_lock({3, 3}));
  EXPECT_FALSE(second_.try_lock({7, 7}));
}

TEST(ByteRangeLocks, TakeThePermissionsOfTheDatabase) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  for (const auto mode : {fs::perms{0600}, fs::perms{0660}, fs::perms{0664}}) {
    fs::permissions(database, mode);
    const auto file = folder.path() / ("locks-" + std::to_string(static_cast<unsigned>(mode)));
    const ByteRangeLocks locks(file, database);
    EXPECT_EQ(fs::status(file).permissions(), mode);
  }
}

TEST(ByteRangeLocks, SayWhichFileCannotBeMade) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  try {
    const ByteRangeLocks locks(folder.path() / "nowhere" / "locks", database);
    FAIL() << "a folder that is not there was no hindrance";
  } catch (const std::exception& error) {
    EXPECT_EQ(error.what(), "The lock file '" + (folder.path() / "nowhere" / "locks").string() +
                                "': No such file or directory");
  }
}

// To give a file away takes root, or membership in the group.
TEST(ByteRangeLocks, AreMadeAlsoByWhoMayNotGiveFilesAway) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  fs::permissions(database, fs::perms{0660});
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(database.c_str(), 1001, 4321), 0);
  }
  for (const int refused : {1, 2}) {
    const auto file = folder.path() / std::to_string(refused);
    int calls = 0;
    const Intercepting gifts([&](const InterceptedCall& call) {
      return call.kind == SystemCall::kName && call.file >= 0 && calls++ < refused ? EPERM : kGoOn;
    });
    ByteRangeLocks locks(file, database);
    struct stat made {};
    struct stat model {};
    ASSERT_EQ(::stat(file.c_str(), &made), 0);
    ASSERT_EQ(::stat(database.c_str(), &model), 0);
    EXPECT_EQ(made.st_uid, ::geteuid());
    EXPECT_EQ(made.st_gid, refused == 1 ? model.st_gid : ::getegid());
    EXPECT_EQ(made.st_mode & 0777u, 0660u);
    EXPECT_TRUE(locks.try_lock({0, 0}));
  }
}

bool gives_name(const InterceptedCall& call, const fs::path& file) {
  return call.kind == SystemCall::kName && call.name != nullptr && call.name == file.native();
}

TEST(ByteRangeLocks, AreThoseOfWhoeverMakesTheFileFirst) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  const auto file = folder.path() / "locks";
  std::unique_ptr<ByteRangeLocks> first;
  const Intercepting others([&](const InterceptedCall& call) {
    if (gives_name(call, file) && first == nullptr) {
      first = std::make_unique<ByteRangeLocks>(file, database);
    }
    return kGoOn;
  });
  ByteRangeLocks second(file, database);
  ASSERT_NE(first, nullptr);
  EXPECT_TRUE(first->try_lock({0, 0}));
  EXPECT_FALSE(second.try_lock({0, 0}));
}

TEST(ByteRangeLocks, AreMadeAlsoWhereAFileHasItsNameFromTheBeginning) {
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  const auto file = folder.path() / "locks";
  const Intercepting links(
      [&](const InterceptedCall& call) { return gives_name(call, file) ? ENOENT : kGoOn; });
  ByteRangeLocks first(file, database);
  ByteRangeLocks second(file, database);
  EXPECT_TRUE(first.try_lock({0, 0}));
  EXPECT_FALSE(second.try_lock({0, 0}));
}

TEST(ByteRangeLocks, NeedADatabase) {
  const test_support::TemporaryFolder folder;
  EXPECT_THROW(ByteRangeLocks(folder.path() / "locks", folder.path() / "data.db"), ado::AdoError);
  EXPECT_FALSE(fs::exists(folder.path() / "locks"));
}

TEST(ByteRangeLocks, MayBelongToWhoMayWriteTheDatabase) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root, to be several users";
  constexpr uid_t kOwner = 1001;
  constexpr uid_t kOther = 1002;
  constexpr gid_t kGroup = 4321;
  const test_support::TemporaryFolder folder;
  const auto database = folder.write("data.db", "");
  const auto file = folder.write("locks", "");
  fs::permissions(folder.path(), fs::perms{0755});
  fs::permissions(file, fs::perms{0666});
  const auto may_be_used = [&](uid_t holder, fs::perms mode, uid_t user = 0) {
    EXPECT_EQ(::chown(database.c_str(), kOwner, kGroup), 0);
    EXPECT_EQ(::chown(file.c_str(), holder, 0), 0);
    fs::permissions(database, mode);
    EXPECT_EQ(::seteuid(user), 0);
    bool usable = true;
    try {
      const ByteRangeLocks locks(file, database);
    } catch (const ado::AdoError&) {
      usable = false;
    }
    EXPECT_EQ(::seteuid(0), 0);
    return usable;
  };
  EXPECT_TRUE(may_be_used(0, fs::perms{0600}));
  EXPECT_TRUE(may_be_used(kOwner, fs::perms{0600}));
  EXPECT_TRUE(may_be_used(kOther, fs::perms{0666}));
  EXPECT_TRUE(may_be_used(kOther, fs::perms{0600}, kOther));
  EXPECT_FALSE(may_be_used(kOther, fs::perms{0600}, kOwner));
  EXPECT_FALSE(may_be_used(kOther, fs::perms{0660}));  // not of the group
}

/// A call fails once.
class OneFailure {
 public:
  OneFailure(SystemCall kind, int error)
      : failing_([this, kind, error](const InterceptedCall& call) {
          if (call.kind != kind || failed_) return kGoOn;
          failed_ = true;
          return error;
        }) {}

 private:
  bool failed_ = false;
  Intercepting failing_;
};

template <class Step>
Text description_of_failure(Step&& step) {
  try {
    std::forward<Step>(step)();
  } catch (const ado::AdoError& error) {
    return error.description();
  }
  return {};
}

TEST_F(TwoLockFiles, TakeEitherRefusalOfALockForAnothersLock) {
  for (const int refusal : {EAGAIN, EACCES}) {
    const OneFailure failure(SystemCall::kLock, refusal);
    EXPECT_FALSE(first_.try_lock({0, 0}));
    EXPECT_TRUE(first_.try_lock({0, 0}));
  }
}

TEST_F(TwoLockFiles, SayWhyTheyCannotBeLockedLookedAtOrRead) {
  std::array<char, 1> text{};
  constexpr TextView kWhy = u"The lock file: Input/output error";
  {
    const OneFailure failure(SystemCall::kLock, EIO);
    EXPECT_EQ(description_of_failure([&] { (void)first_.try_lock({0, 0}); }), kWhy);
  }
  {
    const OneFailure failure(SystemCall::kLookForLock, EIO);
    EXPECT_EQ(description_of_failure([&] { (void)first_.foreign_lock({0, 0}); }), kWhy);
  }
  const OneFailure failure(SystemCall::kRead, EIO);
  EXPECT_EQ(description_of_failure([&] { (void)first_.read_at(0, text); }), kWhy);
}

TEST_F(TwoLockFiles, AreReadAndWrittenInSpiteOfSignals) {
  {
    const OneFailure failure(SystemCall::kWrite, EINTR);
    first_.write_at(0, "ab");
  }
  const OneFailure failure(SystemCall::kRead, EINTR);
  std::array<char, 2> text{};
  EXPECT_TRUE(second_.read_at(0, text));
  EXPECT_EQ(std::string_view(text.data(), text.size()), "ab");
}

TEST_F(TwoLockFiles, TellAFullDiskFromABrokenOne) {
  for (const int error : {ENOSPC, EDQUOT, EFBIG, EIO}) {
    const OneFailure failure(SystemCall::kWrite, error);
    try {
      first_.write_at(0, "ab");
      ADD_FAILURE() << "there was room";
    } catch (const ado::AdoError& told) {
      EXPECT_EQ(told.kind(), error == EIO ? ado::FailureKind::kOther : ado::FailureKind::kDiskFull);
    }
  }
}

}  // namespace
}  // namespace tarnwick::sqlite
