#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <thread>

#include "ado/stream.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::ado {
namespace {

using test_support::error_description_of;
using test_support::error_number_of;

namespace fs = std::filesystem;

Bytes bytes(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

Text text_of(const fs::path& path) { return from_utf8(path.string()); }

std::string content_of(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

Stream binary(Bytes content) {
  Stream stream;
  stream.set_type(StreamType::kBinary);
  stream.open();
  stream.write(std::move(content));
  return stream;
}

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

class StreamFileTest : public testing::Test {
 protected:
  [[nodiscard]] std::ptrdiff_t files_in_folder() const {
    return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
  }

  test_support::TemporaryFolder folder;
  fs::path file = folder.path() / "file.bin";
};

TEST_F(StreamFileTest, WhatWasSavedIsLoadedAgain) {
  Bytes content;
  for (int i = 0; i < 300'000; ++i) content.push_back(static_cast<std::byte>(i * 7 % 251));
  Stream stream = binary(content);
  stream.save_to_file(file);
  EXPECT_EQ(stream.position(), 0);
  EXPECT_EQ(stream.size(), 300'000);
  Stream other = binary(bytes("old content"));
  other.load_from_file(file);
  EXPECT_EQ(other.position(), 0);
  EXPECT_EQ(other.read(), content);
  EXPECT_EQ(files_in_folder(), 1);
}

TEST_F(StreamFileTest, AnEmptyStreamMakesAnEmptyFile) {
  Stream stream = binary({});
  stream.save_to_file(file);
  EXPECT_TRUE(fs::exists(file));
  stream.write(bytes("x"));
  stream.load_from_file(file);
  EXPECT_EQ(stream.size(), 0);
}

TEST_F(StreamFileTest, TheWholeContentIsSavedWhereverThePositionIs) {
  Stream stream = binary(bytes("abc"));
  stream.set_position(2);
  stream.save_to_file(file);
  EXPECT_EQ(content_of(file), "abc");
}

TEST_F(StreamFileTest, TextIsSavedInItsCharset) {
  Stream stream;
  stream.open();
  stream.write_text(u"naïve");
  stream.save_to_file(file);
  EXPECT_EQ(content_of(file), "na\xEFve");
  stream.close();
  stream.open();
  stream.load_from_file(file);
  EXPECT_EQ(stream.read_text(), u"naïve");
}

TEST_F(StreamFileTest, AFileThatIsThereIsKeptUnlessOverwritingIsAskedFor) {
  folder.write("file.bin", "old");
  Stream stream = binary(bytes("new"));
  EXPECT_EQ(error_number_of([&] { stream.save_to_file(file); }), 3004);
  EXPECT_EQ(content_of(file), "old");
  stream.save_to_file(file, SaveOption::kCreateOverWrite);
  EXPECT_EQ(content_of(file), "new");
  EXPECT_EQ(files_in_folder(), 1);
}

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

TEST_F(StreamFileTest, AFolderIsNoFile) {
  Stream stream = binary(bytes("content"));
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(folder.path()); }), 3002);
  EXPECT_EQ(
      error_number_of([&] { stream.save_to_file(folder.path(), SaveOption::kCreateOverWrite); }),
      3004);
  EXPECT_EQ(error_number_of([&] { stream.save_to_file(folder.path() / "none" / "x"); }), 3004);
  EXPECT_EQ(files_in_folder(), 0);
}

TEST_F(StreamFileTest, AFileThatCannotBeOpenedOrReadLeavesTheContent) {
  Stream stream = binary(bytes("content"));
  stream.set_position(3);
  EXPECT_EQ(error_description_of([&] { stream.load_from_file(file); }),
            u"File could not be opened. '" + text_of(file) + u"': No such file or directory.");
  EXPECT_EQ(error_number_of([&] { stream.load_from_file(file); }), 3002);
  // The system refuses to read at address 0 of a process.
  EXPECT_EQ(error_description_of([&] { stream.load_from_file("/proc/self/mem"); }),
            u"File could not be read. '/proc/self/mem': Input/output error.");
  EXPECT_EQ(error_number_of([&] { stream.load_from_file("/proc/self/mem"); }), 3003);
  EXPECT_EQ(stream.position(), 3);
  EXPECT_EQ(stream.size(), 7);
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
