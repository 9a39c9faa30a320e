#include "tests/ado/stream_file_test.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST_F(StreamFileTest, ALinkStaysALinkToTheOverwrittenFile) {
  const fs::path target = folder.write("target.bin", "old");
  fs::create_symlink(target, file);
  binary(bytes("new")).save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_TRUE(fs::is_symlink(file));
  EXPECT_EQ(content_of(target), "new");
  fs::remove(target);
  binary(bytes("newer")).save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(target), "newer");
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

TEST_F(StreamFileTest, APipeIsReadToItsEndAndWrittenDirectly) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  const Bytes content(200'000, std::byte{'p'});
  std::thread writer([&] { binary(content).save_to_file(file, SaveOption::kCreateOverWrite); });
  Stream stream = binary({});
  stream.load_from_file(file);
  writer.join();
  EXPECT_EQ(stream.read(), content);
  EXPECT_TRUE(fs::is_fifo(file));
}

TEST_F(StreamFileTest, AFileOfTheSystemThatHidesItsSizeIsReadWhole) {
  Stream stream = binary({});
  stream.load_from_file("/proc/self/status");
  const Bytes status = stream.read();
  const std::string text(reinterpret_cast<const char*>(status.data()), status.size());
  EXPECT_NE(text.find("VmRSS"), std::string::npos);
}

TEST_F(StreamFileTest, ADeviceThatTakesNothingIsAnError) {
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(
      error_description_of([&] { stream.save_to_file("/dev/full", SaveOption::kCreateOverWrite); }),
      u"Write to file failed. '/dev/full': No space left on device.");
}

TEST_F(StreamFileTest, AFileNameOfTheGreatestLengthIsOverwritten) {
  const fs::path longest = folder.write(std::string(255, 'n'), "old");
  binary(bytes("new")).save_to_file(longest, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(longest), "new");
}

}  // namespace
}  // namespace tarnwick::ado
