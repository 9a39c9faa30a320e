#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "tests/engines/sqlite/intercepting.h"
#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::sqlite {
namespace {

namespace fs = std::filesystem;

class Durability : public SessionTest {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    session_ = open_session();
    // The first commit begins the log, whose head SQLite brings to the disk by itself.
    session_->execute(u"Update DW_Reports Set Author = 'Ada'");
    at_sync_of_log_ = [&] {
      ++syncs_;
      title_at_sync_ = title();
      return 0;
    };
  }

  [[nodiscard]] std::string title() const {
    return database_.value("SELECT Title FROM DW_Reports");
  }
  void hold_and_rename() {
    session_->begin();
    hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  }

  std::unique_ptr<ado::EngineSession> session_;
  // What happens when SQLite brings a write-ahead log to the disk; nothing to be done by default.
  std::function<int()> at_sync_of_log_;
  int syncs_ = 0;
  std::string title_at_sync_;

 private:
  int answer(const test_support::InterceptedCall& call) const {
    if (!at_sync_of_log_ || call.kind != test_support::SystemCall::kSync) return 0;
    const fs::path link = "/proc/self/fd/" + std::to_string(call.file);
    return fs::read_symlink(link).native().ends_with("-wal") ? at_sync_of_log_() : 0;
  }

  Intercepting syncs_of_log_{[this](const auto& call) { return answer(call); }};
};

TEST_F(Durability, ACommitIsOnTheDiskWhenItReturns) {
  hold_and_rename();
  EXPECT_EQ(syncs_, 0);
  session_->commit();
  EXPECT_EQ(syncs_, 1);
  EXPECT_EQ(title_at_sync_, "New");
}

TEST_F(Durability, SoIsAStatementOutsideATransaction) {
  session_->execute(u"Update DW_Reports Set Title = 'New'");
  EXPECT_EQ(syncs_, 1);
  EXPECT_EQ(title_at_sync_, "New");
}

TEST_F(Durability, SoIsALoad) {
  session_->begin_load();
  session_->execute(u"Update DW_Reports Set Title = 'New'");
  EXPECT_EQ(syncs_, 0);
  session_->commit();
  EXPECT_EQ(syncs_, 1);
  EXPECT_EQ(title_at_sync_, "New");
}

TEST_F(Durability, WhatChangesNothingWaitsForNoDisk) {
  hold_and_rename();
  session_->rollback();
  session_->begin();
  static_cast<void>(hold(*session_, kSales));
  session_->commit();
  EXPECT_EQ(syncs_, 0);
}

TEST_F(Durability, OthersWriteTheSameRowWhileACommitGoesToTheDisk) {
  const auto other = open_session();
  hold_and_rename();
  at_sync_of_log_ = [&] {
    if (++syncs_ > 1) return 0;
    other->begin();
    const auto row = hold(*other, kSales);
    EXPECT_EQ(row.value(u"Title"), Variant(Text(u"New")));
    row.update({{u"Title", Text(u"Newer")}});
    other->commit();
    return 0;
  };
  session_->commit();
  EXPECT_EQ(title(), "Newer");
}

TEST_F(Durability, ALogThatCannotBeBroughtToTheDiskLeavesTheOutcomeUnknown) {
  hold_and_rename();
  at_sync_of_log_ = [] { return EIO; };
  EXPECT_THROW(session_->commit(), ado::ConnectionLost);
  at_sync_of_log_ = nullptr;
  const auto other = open_session();
  EXPECT_THAT(other->held_rows(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace tarnwick::sqlite
