#include <gmock/gmock.h>
#include <sqlite3.h>

#include <functional>

#include "tests/engines/sqlite/session_test.h"

// What a session reads while it holds a row that it has written to, and who else may write then.

namespace tarnwick::sqlite {
namespace {

/// What the SQL function meanwhile() does, in whatever statement it stands.
std::function<void()> meanwhile;

void run_meanwhile(sqlite3_context* context, int /*count*/, sqlite3_value** /*values*/) {
  try {
    if (meanwhile) meanwhile();
  } catch (const std::exception& error) {
    ADD_FAILURE() << "meanwhile: " << error.what();  // SQLite's own code knows no exceptions
  }
  sqlite3_result_int(context, 1);
}

int add_meanwhile(sqlite3* handle, char** /*message*/, const sqlite3_api_routines* /*api*/) {
  return sqlite3_create_function(handle, "meanwhile", 0, SQLITE_UTF8, nullptr, run_meanwhile,
                                 nullptr, nullptr);
}

constexpr TextView kSlowly = u"Select *, meanwhile() From DW_Reports Order By ReportName";

/// Reports a0000, a0001, ... with a title of a few kilobytes each: more pages than SQLite keeps.
class ReadingBesideWriters : public SessionTest {
 protected:
  static constexpr int kReports = 1500;

  void SetUp() override {
    sqlite3_auto_extension(reinterpret_cast<void (*)()>(add_meanwhile));
    database_.run(
        "WITH n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 1499) "
        "INSERT INTO DW_Reports (ReportName, Title, Definition) "
        "SELECT printf('a%04d', i), 'Old', hex(zeroblob(1500)) FROM n");
    reader_ = open_session();
    writer_ = open_session();
  }
  void TearDown() override {
    meanwhile = nullptr;
    writer_.reset();
    reader_.reset();
    sqlite3_cancel_auto_extension(reinterpret_cast<void (*)()>(add_meanwhile));
  }

  /// The reader's row, stamped.
  Fetched stamp_a_row() {
    reader_->begin();
    auto row = hold(*reader_, u"Select * From DW_Reports Where ReportName = 'a0700'");
    row.update({{u"SoftLock", Text(u"READER - now")}});
    return row;
  }
  /// Does `step` before each row, and again when it was done for `kReports` of them.
  void read_and_expect_the_old(const std::function<void(int row)>& step) {
    int row = 0;
    meanwhile = [&] { step(row++); };
    const auto rows = read(*reader_, kSlowly);
    meanwhile = nullptr;
    ASSERT_EQ(rows.size(), static_cast<std::size_t>(kReports));
    const auto title = rows.column(u"Title");
    const auto stamp = rows.column(u"SoftLock");
    std::vector<ado::Cell> cells(rows.rows.columns());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      rows.rows.read_row(i, cells);
      ASSERT_EQ(cells[title].to_variant(), Variant(Text(u"Old"))) << i;
      ASSERT_EQ(cells[stamp].to_variant(),
                i == 700 ? Variant(Text(u"READER - now")) : Variant(Null{}))
          << i;
    }
  }

  std::unique_ptr<ado::EngineSession> reader_;
  std::unique_ptr<ado::EngineSession> writer_;
};

TEST_F(ReadingBesideWriters, HoldsUpNoStatementOfAnotherSession) {
  const auto row = stamp_a_row();
  read_and_expect_the_old([&](int i) {
    if (i % 100 == 50) {
      writer_->execute(u"Update DW_Reports Set Title = 'New' Where ReportName = 'a0003'");
    }
  });
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'a0003'"), "New");
}

TEST_F(ReadingBesideWriters, HoldsUpNoMaintenanceOfAnotherRow) {
  const auto row = stamp_a_row();
  read_and_expect_the_old([&](int i) {
    if (i != 5) return;
    writer_->begin();
    const auto other = hold(*writer_, u"Select * From DW_Reports Where ReportName = 'a0800'");
    ASSERT_EQ(other.size(), 1u);
    other.update({{u"SoftLock", Text(u"WRITER - now")}});
    other.update({{u"SoftLock", Text()}, {u"Title", Text(u"New")}});
    writer_->commit();
  });
  EXPECT_EQ(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'a0800'"), "New");
  EXPECT_EQ(read(*reader_, u"Select * From DW_Reports Where ReportName = 'a0800'").value(u"Title"),
            Variant(Text(u"New")));
}

TEST_F(ReadingBesideWriters, HoldsUpNoProgramThatKnowsNothingOfOurs) {
  const auto row = stamp_a_row();
  auto plain = database_.open_plainly();
  plain.run("PRAGMA busy_timeout = 0");
  read_and_expect_the_old([&](int i) {
    if (i == 5) plain.run("UPDATE DW_Reports SET Title = 'New' WHERE ReportName <> 'a0700'");
  });
}

// However much of the write-ahead log is in the database file when the reading begins, and whatever
// becomes of the log while it lasts: emptied, begun anew, copied as far as readers allow.
TEST_F(ReadingBesideWriters, SeesOneStateOfTheDatabaseWhateverBecomesOfTheLog) {
  for (const char* before :
       {"SELECT 1", "PRAGMA wal_checkpoint(PASSIVE)", "PRAGMA wal_checkpoint(TRUNCATE)",
        "PRAGMA wal_checkpoint(RESTART); UPDATE DW_Reports SET Author = 'x' WHERE CAST(substr("
        "ReportName, 2) AS INT) % 7 = 0"}) {
    SCOPED_TRACE(before);
    auto plain = database_.open_plainly();
    plain.run("UPDATE DW_Reports SET Title = 'Old'");
    plain.run(before);
    const auto row = stamp_a_row();
    plain.run("PRAGMA busy_timeout = 0; PRAGMA wal_autocheckpoint = 20");
    read_and_expect_the_old([&](int i) {
      if (i % 50 != 7) return;
      plain.run("UPDATE DW_Reports SET Title = 'New' || " + std::to_string(i) +
                ", Definition = hex(zeroblob(1400)) WHERE ReportName <> 'a0700'");
      plain.run("PRAGMA wal_checkpoint(TRUNCATE)");
      plain.run("PRAGMA wal_checkpoint(PASSIVE)");
    });
    EXPECT_NE(database_.value("SELECT Title FROM DW_Reports WHERE ReportName = 'a0001'"), "Old");
    reader_->rollback();
    EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
  }
}

TEST_F(ReadingBesideWriters, LeavesTheFilesAsTheyAre) {
  const auto row = stamp_a_row();
  auto plain = database_.open_plainly();
  plain.run("PRAGMA wal_checkpoint(TRUNCATE)");
  EXPECT_EQ(read(*reader_, u"Select * From DW_Reports").size(), std::size_t{kReports});
  EXPECT_EQ(std::filesystem::file_size(database_.file().string() + "-wal"), 0u);
  EXPECT_FALSE(std::filesystem::exists(database_.file().string() + "-journal"));
  EXPECT_EQ(plain.run("SELECT count(*) FROM DW_Reports WHERE SoftLock IS NOT NULL"),
            (test_support::PlainSqlite::Rows{{"0"}}));
}

TEST_F(ReadingBesideWriters, SeesTheOwnStatementsOfAnyForm) {
  database_.run("CREATE TABLE T (a, b)");
  reader_->begin();
  reader_->execute(u"Update DW_Reports Set Title = 'Mine' Where ReportName < 'a0100'");
  reader_->execute(u"Delete From DW_Reports Where ReportName >= 'a1000'");
  reader_->execute(u"Insert Into DW_Reports (ReportName) Values ('b')");
  reader_->execute(u"Insert Into T Select ReportName, Title From DW_Reports");
  int done = 0;
  meanwhile = [&] {
    if (done++ == 10)
      writer_->execute(
          u"Insert Into DW_SEC_PC Values ('m', 'c', 1, 1, 1, 1, NULL, "
          u"NULL, 0, NULL, NULL, NULL, NULL, NULL, NULL, NULL)");
  };
  const auto seen = read(*reader_,
                         u"Select count(*) n, sum(Title = 'Mine') mine, sum(meanwhile()) m, "
                         u"max(ReportName) last From DW_Reports");
  meanwhile = nullptr;
  EXPECT_EQ(seen.value(u"n"), Variant(std::int32_t{1001}));
  EXPECT_EQ(seen.value(u"mine"), Variant(std::int32_t{100}));
  EXPECT_EQ(seen.value(u"last"), Variant(Text(u"b")));
  EXPECT_EQ(read(*reader_, u"Select count(*) n From T").value(u"n"), Variant(std::int32_t{1001}));
  EXPECT_EQ(database_.value("SELECT count(*) FROM DW_SEC_PC"), "1");
  reader_->commit();
  EXPECT_EQ(database_.value("SELECT count(*) FROM T"), "1001");
}

TEST_F(ReadingBesideWriters, FailsWithItsOwnErrorAndCanGoOn) {
  const auto row = stamp_a_row();
  const auto error =
      error_of([&] { return read(*reader_, u"Select abs(-9223372036854775807 - 1)"); });
  EXPECT_EQ(error.number(), kCommandError);
  EXPECT_EQ(error.description(), u"integer overflow");
  read_and_expect_the_old([](int) {});
  reader_->commit();
  EXPECT_EQ(database_.value("SELECT SoftLock FROM DW_Reports WHERE ReportName = 'a0700'"),
            "READER - now");
}

}  // namespace
}  // namespace tarnwick::sqlite
