#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <functional>
#include <stdexcept>

#include "tests/engines/sqlite/session_test.h"
#include "tests/support/forked_process.h"

namespace tarnwick::sqlite {
namespace {

// SQLite's table of system calls is one for the whole process.
int failure = 0;

ssize_t failing_pwrite(int file, const void* bytes, std::size_t size, off_t offset) {
  if (failure == 0) return ::pwrite(file, bytes, size, offset);
  errno = failure;
  return -1;
}

/// A database on a disk that can fill up or break: SQLite's writes fail with `failure`.
class FullDisk : public SessionTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(
        vfs_->xSetSystemCall(vfs_, "pwrite", reinterpret_cast<sqlite3_syscall_ptr>(failing_pwrite)),
        SQLITE_OK);
    ASSERT_EQ(vfs_->xSetSystemCall(vfs_, "pwrite64",
                                   reinterpret_cast<sqlite3_syscall_ptr>(failing_pwrite)),
              SQLITE_OK);
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    session_ = open_session();
  }
  void TearDown() override {
    failure = 0;
    session_.reset();
    vfs_->xSetSystemCall(vfs_, "pwrite", nullptr);
    vfs_->xSetSystemCall(vfs_, "pwrite64", nullptr);
  }
  void expect_failure(const std::function<void()>& step, TextView description) {
    const auto error = error_of([&] {
      step();
      return 0;
    });
    EXPECT_EQ(error.number(), kUnspecified);
    EXPECT_EQ(error.description(), description);
    EXPECT_EQ(error.kind(),
              failure == EIO ? ado::FailureKind::kOther : ado::FailureKind::kDiskFull);
    EXPECT_NE(error.native(), 0);
  }
  std::string title() const { return database_.value("SELECT Title FROM DW_Reports"); }

  sqlite3_vfs* vfs_ = sqlite3_vfs_find(nullptr);
  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(FullDisk, FailsACommitWhichCanBeTriedAgain) {
  session_->begin();
  hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  failure = ENOSPC;
  expect_failure([&] { session_->commit(); }, u"database or disk is full");
  failure = 0;
  EXPECT_EQ(title(), "Old");
  EXPECT_EQ(session_->held_rows().size(), 1u);
  session_->commit();
  EXPECT_EQ(title(), "New");
}

TEST_F(FullDisk, FailsAStatementAndChangesNothing) {
  failure = ENOSPC;
  expect_failure([&] { session_->execute(u"Delete From DW_Reports"); },
                 u"database or disk is full");
  EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"Old")));
  failure = 0;
  EXPECT_THAT(session_->held_rows(), ::testing::IsEmpty());
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
  session_->execute(u"Delete From DW_Reports");
}

TEST_F(FullDisk, FailsARowTooLargeForIt) {
  const auto row = read(*session_, kSales);
  failure = ENOSPC;
  expect_failure(
      [&] {
        row.update({{u"Report_Binary", Bytes(5'000'000, std::byte{7})}});
      },
      u"database or disk is full");
  failure = 0;
  EXPECT_EQ(database_.value("SELECT Report_Binary IS NULL FROM DW_Reports"), "1");
  row.update({{u"Report_Binary", Bytes(5'000'000, std::byte{7})}});
  EXPECT_EQ(database_.value("SELECT length(Report_Binary) FROM DW_Reports"), "5000000");
}

TEST_F(FullDisk, MayBeAQuotaOrALimitOfFiles) {
  for (const auto& [error, told] : {std::pair{EDQUOT, u"disk I/O error (Disk quota exceeded)"},
                                    std::pair{EFBIG, u"disk I/O error (File too large)"}}) {
    failure = error;
    expect_failure(
        [&] { session_->execute(u"Update DW_Reports Set Report_Binary = zeroblob(50000000)"); },
        told);
    failure = 0;
    EXPECT_EQ(database_.value("SELECT Report_Binary IS NULL FROM DW_Reports"), "1");
  }
}

TEST_F(FullDisk, IsToldFromABrokenOne) {
  failure = EIO;
  expect_failure([&] { session_->execute(u"Delete From DW_Reports"); }, u"disk I/O error");
  failure = 0;
  EXPECT_EQ(title(), "Old");
}

TEST_F(FullDisk, OrABrokenOneEndsALoadOfWhichNothingStays) {
  session_->begin_load();
  session_->execute(u"Update DW_Reports Set Title = 'New'");
  failure = EIO;
  expect_failure(
      [&] { session_->execute(u"Update DW_Reports Set Report_Binary = zeroblob(50000000)"); },
      u"disk I/O error (Input/output error)");
  failure = 0;
  EXPECT_EQ(error_of([&] {
              session_->execute(u"Update DW_Reports Set Author = 'Ada'");
              return 0;
            }).description(),
            u"The transaction has been rolled back by the database.");
  session_->rollback();
  EXPECT_EQ(title(), "Old");
}

/// The system's own limit of a file's size, which nobody can tell from a full disk.
class LargestFile : public SessionTest {};

TEST_F(LargestFile, FailsACommitAsAFullDiskDoesAndTheRowStaysHeld) {
  database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
  test_support::ForkedProcess child([&](test_support::Conversation& test) {
    const auto session = open_session();
    session->begin();
    hold(*session, kSales).update({{u"Report_Binary", Bytes(5'000'000, std::byte{7})}});
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{1'000'000, 1'000'000};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) throw std::runtime_error("setrlimit");
    const auto error = error_of([&] {
      session->commit();
      return 0;
    });
    test.say(std::to_string(error.number()) + " " + std::to_string(static_cast<int>(error.kind())) +
             " " + to_utf8(error.description()));
    test.say(std::to_string(session->held_rows().size()));
    session->rollback();
  });
  EXPECT_EQ(child.hear(), "-2147467259 5 disk I/O error (File too large)");
  EXPECT_EQ(child.hear(), "1");
  EXPECT_TRUE(child.ended_well());
  EXPECT_EQ(database_.value("SELECT Title || ifnull(Report_Binary, '') FROM DW_Reports"), "Old");
  EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
}

}  // namespace
}  // namespace tarnwick::sqlite
