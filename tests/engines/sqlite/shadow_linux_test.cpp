#include <gmock/gmock.h>

#include <cerrno>
#include <fstream>

#include "tests/engines/sqlite/intercepting.h"
#include "tests/engines/sqlite/session_test.h"

// What a session that has written to its row meets when it reads: an index of the log that is not
// whole, files that cannot be opened, rows that are given back at the last moment.

namespace tarnwick::sqlite {
namespace {

using test_support::InterceptedCall;
using test_support::kGoOn;
using test_support::SystemCall;

class ReadingOwnWrites : public SessionTest {
 protected:
  void SetUp() override {
    database_.run("INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'Old')");
    session_ = open_session();
    begin();
  }
  void begin() {
    session_->begin();
    hold(*session_, kSales).update({{u"Title", Text(u"New")}});
  }
  void expect_to_read_on() {
    EXPECT_EQ(read(*session_, kSales).value(u"Title"), Variant(Text(u"New")));
  }

  /// The index stands twice in its file, behind each other: writes `bytes` at `offset` into the
  /// second one, and into the first one too where `both` say so.
  struct Damage {
    std::int64_t offset;
    std::string bytes;
    bool both;
  };
  static constexpr std::int64_t kIndex = 48;
  [[nodiscard]] std::fstream index() const {
    return std::fstream(database_.file().string() + "-shm",
                        std::ios::binary | std::ios::in | std::ios::out);
  }
  void damage_index(const Damage& damage) const {
    auto file = index();
    file.seekp(kIndex + damage.offset).write(damage.bytes.data(), std::ssize(damage.bytes));
    if (damage.both) file.seekp(damage.offset).write(damage.bytes.data(), std::ssize(damage.bytes));
  }
  /// The first reading of the file finds out whether the tables have changed; as another program
  /// writes then, the second one begins what the session reads by, and comes when SQLite has looked
  /// at the index.
  [[nodiscard]] Intercepting::Answer damaging(const Damage& damage) const {
    return [this, damage, readings = 0](const InterceptedCall& call) mutable {
      if (call.kind == SystemCall::kRead && ++readings == 1) {
        database_.run("UPDATE DW_SEC_COMP SET MetaID = 'x'");
      } else if (call.kind == SystemCall::kRead && readings == 2) {
        damage_index(damage);
      }
      return kGoOn;
    };
  }
  void write_beside() const {
    database_.run(
        "INSERT OR REPLACE INTO DW_SEC_COMP (CompID, ForceDisplay, MaintType) VALUES (1, 0, 2)");
  }

  std::unique_ptr<ado::EngineSession> session_;
};

TEST_F(ReadingOwnWrites, WaitsForAnIndexThatIsBeingWritten) {
  for (const auto& damage : {Damage{8, "\xff", false}, Damage{12, std::string(1, '\0'), true}}) {
    write_beside();
    const Intercepting calls(damaging(damage));
    EXPECT_EQ(error_of([&] { return read(*session_, kSales); }).native(), 1222);
    expect_to_read_on();
  }
}

TEST_F(ReadingOwnWrites, GoesOnWhenTheIndexIsWhole) {
  session_->execute(u"SET LOCK_TIMEOUT 60000");
  write_beside();
  std::string whole(kIndex, '\0');
  auto damaged = damaging({8, "\xff", false});
  bool waited = false;
  const Intercepting calls([&](const InterceptedCall& call) {
    if (call.kind == SystemCall::kSleep && !std::exchange(waited, true)) {
      index().read(whole.data(), kIndex);
      index().seekp(kIndex).write(whole.data(), kIndex);
    }
    return damaged(call);
  });
  expect_to_read_on();
  EXPECT_TRUE(waited);
}

TEST_F(ReadingOwnWrites, RefusesAnIndexOfAnotherForm) {
  write_beside();
  const Intercepting calls(damaging({0, "\x01", true}));
  EXPECT_EQ(error_of([&] { return read(*session_, kSales); }).description(),
            u"unable to open database file");
  expect_to_read_on();
}

TEST_F(ReadingOwnWrites, FailsWhereAFileCannotBeOpenedAndCanGoOn) {
  {
    const Intercepting calls([&](const InterceptedCall& call) {
      return call.kind == SystemCall::kOpen ? EMFILE : kGoOn;
    });
    EXPECT_EQ(error_of([&] { return read(*session_, kSales); }).description(),
              u"unable to open database file (Too many open files)");
  }
  expect_to_read_on();
}

TEST_F(ReadingOwnWrites, TakesARowThatIsGivenBackBeforeItIsWaitedFor) {
  session_->rollback();
  const auto other = open_session();
  other->begin();
  ASSERT_EQ(hold(*other, kSales).size(), 1u);
  const Intercepting calls([&](const InterceptedCall& call) {
    if (call.kind == SystemCall::kLookForLock) other->rollback();
    return kGoOn;
  });
  session_->execute(u"Update DW_Reports Set Title = 'Newer'");
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports"), "Newer");
}

TEST_F(ReadingOwnWrites, KnowsPagesOfTheLargestSize) {
  session_.reset();
  database_.run("PRAGMA journal_mode = DELETE; PRAGMA page_size = 65536; VACUUM");
  session_ = open_session();
  write_beside();
  begin();
  expect_to_read_on();
}

}  // namespace
}  // namespace tarnwick::sqlite
