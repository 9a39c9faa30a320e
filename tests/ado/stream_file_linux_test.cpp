#include "tests/ado/stream_file_test.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/support/thrown_error.h"

// What permissions, links, pipes and devices do to the files of a stream.

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

/// While it lives, what the process opens and writes counts as an ordinary user's.
class OrdinaryUser {
 public:
  OrdinaryUser() : was_root_(geteuid() == 0) {
    if (was_root_ && seteuid(65534) != 0) throw std::runtime_error("cannot become another user");
  }
  ~OrdinaryUser() {
    if (was_root_ && seteuid(0) != 0) std::abort();
  }

 private:
  bool was_root_;
};

/// While it lives, no file grows over `size` bytes: a disk that is full.
class FullDisk {
 public:
  explicit FullDisk(rlim_t size) {
    old_handler_ = signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_limit_);
    rlimit limit = old_limit_;
    limit.rlim_cur = size;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot limit file sizes");
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &old_limit_);
    signal(SIGXFSZ, old_handler_);
  }

 private:
  rlimit old_limit_{};
  void (*old_handler_)(int) = nullptr;
};

TEST_F(StreamFileTest, AnOverwrittenFileKeepsItsPermissions) {
  folder.write("file.bin", "old");
  fs::permissions(file, fs::perms{0640});
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(file), "new");
  EXPECT_EQ(fs::status(file).permissions(), fs::perms{0640});
}

TEST_F(StreamFileTest, AReaderOfTheOldFileKeepsTheOldContent) {
  folder.write("file.bin", "old");
  std::ifstream reader(file);
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "old");
}

TEST_F(StreamFileTest, ALinkIsNeitherFollowedNorReplaced) {
  const fs::path target = folder.write("target.bin", "old");
  fs::create_symlink(target, file);
  EXPECT_EQ(
      error_description_of(
          [&] { binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite); }),
      u"Write to file failed. '" + text_of(file) + u"': A symbolic link, which is not followed.");
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_EQ(content_of(target), "old");
  fs::remove(target);
  for (const SaveOption option : {SaveOption::kCreateOverWrite, SaveOption::kCreateNotExist}) {
    EXPECT_EQ(error_number_of([&] { binary(bytes("new")).save_to_file(file, option); }), 3004);
  }
  EXPECT_FALSE(fs::exists(target));
}

TEST_F(StreamFileTest, ALinkToAFolderOnTheWayIsFollowed) {
  fs::create_directory(folder.path() / "real");
  fs::create_directory_symlink(folder.path() / "real", folder.path() / "link");
  binary(bytes("new")).save_to_file(folder.path() / "link" / "x", SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(folder.path() / "real" / "x"), "new");
}

/// Looks, whenever a file may not grow any more, who may use the files of that size that this
/// process has open.
class WatchedGrowth {
 public:
  explicit WatchedGrowth(rlim_t size) {
    size_ = static_cast<off_t>(size);
    modes_ = 0;
    files_ = 0;
    old_handler_ = signal(SIGXFSZ, &WatchedGrowth::look);
    getrlimit(RLIMIT_FSIZE, &old_limit_);
    rlimit limit = old_limit_;
    limit.rlim_cur = size;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("cannot limit file sizes");
  }
  ~WatchedGrowth() {
    setrlimit(RLIMIT_FSIZE, &old_limit_);
    signal(SIGXFSZ, old_handler_);
  }
  [[nodiscard]] static mode_t modes() { return modes_; }
  [[nodiscard]] static int files() { return files_; }

 private:
  static void look(int) {
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
      struct stat status {};
      if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) continue;
      if (status.st_size != size_) continue;
      modes_ |= status.st_mode & 0777;
      ++files_;
    }
  }

  static inline off_t size_ = 0;
  static inline mode_t modes_ = 0;
  static inline int files_ = 0;
  rlimit old_limit_{};
  void (*old_handler_)(int) = nullptr;
};

TEST_F(StreamFileTest, NobodyElseReadsTheNewContentOfAPrivateFileWhileItIsWritten) {
  folder.write("file.bin", "old");
  fs::permissions(file, fs::perms{0600});
  const mode_t old_mask = umask(0);
  {
    const WatchedGrowth watched(54'321);
    EXPECT_EQ(error_number_of(
                  [&] { binary(Bytes(100'000)).save_to_file(file, SaveOption::kCreateOverWrite); }),
              3004);
  }
  umask(old_mask);
  EXPECT_EQ(WatchedGrowth::files(), 1);
  EXPECT_EQ(WatchedGrowth::modes(), 0600u);
}

TEST_F(StreamFileTest, ANewFileHasThePermissionsThatNewFilesHave) {
  const mode_t old_mask = umask(027);
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  umask(old_mask);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms{0640});
}

TEST_F(StreamFileTest, AGroupThatTheNewFileCannotBeGivenCountsAmongAllOthers) {
  if (geteuid() != 0) GTEST_SKIP() << "only an administrator gives files to others";
  constexpr uid_t kOrdinary = 65534;
  constexpr gid_t kForeign = 12345;
  folder.write("file.bin", "old");
  ASSERT_EQ(chown(file.c_str(), kOrdinary, kForeign), 0);
  fs::permissions(file, fs::perms{0664});
  fs::permissions(folder.path(), fs::perms{0777});
  {
    const OrdinaryUser user;
    binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  }
  struct stat status {};
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(content_of(file), "new");
  EXPECT_NE(status.st_gid, kForeign);
  EXPECT_EQ(status.st_mode & 0777, 0644u);
  // Who may give files to others leaves the file to whom it was.
  ASSERT_EQ(chown(file.c_str(), kOrdinary, kForeign), 0);
  binary(bytes("newer")).save_to_file(file, SaveOption::kCreateOverWrite);
  ASSERT_EQ(stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kOrdinary);
  EXPECT_EQ(status.st_gid, kForeign);
}

/// An access control list as the kernel keeps it: the owner, user 12345, the group, the mask and
/// all others.
constexpr unsigned char kAccessList[] = {
    2,    0, 0, 0,                          // version
    1,    0, 6, 0, 0xFF, 0xFF, 0xFF, 0xFF,  // owner: rw-
    2,    0, 6, 0, 0x39, 0x30, 0,    0,     // user 12345: rw-
    4,    0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF,  // group: ---
    0x10, 0, 6, 0, 0xFF, 0xFF, 0xFF, 0xFF,  // mask: rw-
    0x20, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF,  // all others: ---
};

TEST_F(StreamFileTest, AnOverwrittenFileKeepsItsAccessControlList) {
  constexpr char kName[] = "system.posix_acl_access";
  folder.write("file.bin", "old");
  if (setxattr(file.c_str(), kName, kAccessList, sizeof kAccessList, 0) != 0) {
    GTEST_SKIP() << "no access control lists on this file system";
  }
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  unsigned char list[sizeof kAccessList] = {};
  ASSERT_EQ(getxattr(file.c_str(), kName, list, sizeof list),
            static_cast<ssize_t>(sizeof kAccessList));
  EXPECT_TRUE(std::equal(std::begin(list), std::end(list), std::begin(kAccessList)));
}

TEST_F(StreamFileTest, WhatAFolderHandsDownGivesNobodyWhatTheOverwrittenFileDidNot) {
  folder.write("file.bin", "old");
  fs::permissions(file, fs::perms{0660});
  if (setxattr(folder.path().c_str(), "system.posix_acl_default", kAccessList, sizeof kAccessList,
               0) != 0) {
    GTEST_SKIP() << "no access control lists on this file system";
  }
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_LT(getxattr(file.c_str(), "system.posix_acl_access", nullptr, 0), 0);
  EXPECT_EQ(fs::status(file).permissions(), fs::perms{0660});
}

TEST_F(StreamFileTest, AProcessThatIsKilledWhileItWritesLeavesTheOldFileAndNothingElse) {
  folder.write("file.bin", "old");
  const int unnamed = open(folder.path().c_str(), O_TMPFILE | O_WRONLY, 0600);
  if (unnamed < 0) GTEST_SKIP() << "no files without a name on this file system";
  close(unnamed);
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{50'000, 50'000};
    setrlimit(RLIMIT_FSIZE, &limit);
    signal(SIGXFSZ, SIG_DFL);
    try {
      binary(Bytes(100'000)).save_to_file(file, SaveOption::kCreateOverWrite);
    } catch (const Error&) {
    }
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(content_of(file), "old");
  EXPECT_EQ(files_in_folder(), 1);
}

TEST_F(StreamFileTest, AFullDiskLeavesTheOldFileAndNothingElse) {
  folder.write("file.bin", "old");
  Stream stream = binary(Bytes(100'000, std::byte{'x'}));
  {
    const FullDisk full(50'000);
    EXPECT_EQ(error_number_of([&] { stream.save_to_file(file, SaveOption::kCreateOverWrite); }),
              3004);
    EXPECT_EQ(
        error_description_of([&] { stream.save_to_file(folder.path() / "new.bin"); }),
        u"Write to file failed. '" + text_of(folder.path() / "new.bin") + u"': File too large.");
  }
  EXPECT_EQ(content_of(file), "old");
  EXPECT_EQ(files_in_folder(), 1);
  EXPECT_EQ(stream.size(), 100'000);
}

TEST_F(StreamFileTest, AProtectedFileOrFolderIsNotWritten) {
  folder.write("file.bin", "old");
  fs::permissions(file, fs::perms{0444});
  fs::permissions(folder.path(), fs::perms{0777});
  const fs::path closed = folder.path() / "closed";
  fs::create_directory(closed);
  fs::permissions(closed, fs::perms{0555});
  Stream stream = binary(bytes("new"));
  {
    const OrdinaryUser user;
    EXPECT_EQ(
        error_description_of([&] { stream.save_to_file(file, SaveOption::kCreateOverWrite); }),
        u"Write to file failed. '" + text_of(file) + u"': Permission denied.");
    EXPECT_EQ(error_number_of([&] { stream.save_to_file(closed / "x"); }), 3004);
  }
  EXPECT_EQ(content_of(file), "old");
  EXPECT_EQ(files_in_folder(), 2);
}

TEST_F(StreamFileTest, APipeIsRefusedAndKeepsNobodyWaiting) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  Stream stream = binary(bytes("content"));
  const auto expect_refused = [&] {
    EXPECT_EQ(error_description_of([&] { stream.load_from_file(file); }),
              u"File could not be opened. '" + text_of(file) + u"': Not a regular file.");
    EXPECT_EQ(
        error_description_of([&] { stream.save_to_file(file, SaveOption::kCreateOverWrite); }),
        u"Write to file failed. '" + text_of(file) + u"': Not a regular file.");
  };
  expect_refused();
  const int other_end = open(file.c_str(), O_RDWR | O_NONBLOCK);
  ASSERT_GE(other_end, 0);
  expect_refused();
  char byte = 0;
  EXPECT_LT(read(other_end, &byte, 1), 0) << "nothing was written";
  close(other_end);
  EXPECT_EQ(stream.size(), 7);
}

TEST_F(StreamFileTest, DevicesAreRefused) {
  Stream stream = binary(bytes("content"));
  for (const char* device : {"/dev/zero", "/dev/null", "/dev/full", "/dev/random"}) {
    EXPECT_EQ(error_description_of([&] { stream.load_from_file(device); }),
              join({u"File could not be opened. '", from_utf8(device), u"': Not a regular file."}));
    EXPECT_EQ(
        error_description_of([&] { stream.save_to_file(device, SaveOption::kCreateOverWrite); }),
        join({u"Write to file failed. '", from_utf8(device), u"': Not a regular file."}));
  }
}

TEST_F(StreamFileTest, AFileOfTheSystemThatHidesItsSizeIsReadWhole) {
  Stream stream = binary({});
  stream.load_from_file("/proc/self/status");
  const Bytes status = stream.read();
  const std::string text(reinterpret_cast<const char*>(status.data()), status.size());
  EXPECT_NE(text.find("VmRSS"), std::string::npos);
}

// One number for each page that the process could have: hundreds of gigabytes.
TEST_F(StreamFileTest, AFileOfTheSystemThatHasNoEndIsRefused) {
  const char* endless = "/proc/self/pagemap";
  if (!fs::exists(endless)) GTEST_SKIP() << "no such file on this system";
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(error_description_of([&] { stream.load_from_file(endless); }),
            u"File could not be read. '/proc/self/pagemap': File too large.");
  EXPECT_EQ(stream.size(), 7);
}

// Whoever comes and goes, and whenever: the file is loaded or saved, or an error of files tells why
// not.
TEST_F(StreamFileTest, WhatComesAndGoesMeanwhileIsNoOtherErrorThanThatOfAFile) {
  const fs::path target = folder.write("target", "target");
  std::atomic<bool> done = false;
  std::thread disturber([&] {
    std::error_code ignored;
    while (!done) {
      fs::create_symlink(target, file, ignored);
      fs::remove(file, ignored);
      fs::create_directory(file, ignored);
      fs::remove(file, ignored);
    }
  });
  Stream stream = binary(bytes("content"));
  for (int i = 0; i < 500; ++i) {
    const auto saved =
        error_number_of([&] { stream.save_to_file(file, SaveOption::kCreateOverWrite); });
    EXPECT_TRUE(!saved || *saved == 3004) << *saved;
    const auto loaded = error_number_of([&] { stream.load_from_file(file); });
    EXPECT_TRUE(!loaded || *loaded == 3002) << *loaded;
  }
  done = true;
  disturber.join();
  EXPECT_EQ(content_of(target), "target");
}

TEST_F(StreamFileTest, AFileNameOfTheGreatestLengthIsOverwritten) {
  const fs::path longest = folder.write(std::string(255, 'n'), "old");
  binary(bytes("new")).save_to_file(longest, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(longest), "new");
}

}  // namespace
}  // namespace tarnwick::ado
