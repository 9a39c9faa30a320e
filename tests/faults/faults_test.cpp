#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <set>

#include "tests/engines/sqlite/locked_rows.h"
#include "tests/faults/injected_fault.h"
#include "tests/faults/job.h"
#include "tests/faults/picture.h"

namespace tarnwick {
namespace {

using test_support::all_jobs;
using test_support::content_of;
using test_support::EmbeddedDatabase;
using test_support::FaultKind;
using test_support::files_in;
using test_support::InjectedFault;
using test_support::Job;
using test_support::Picture;
using test_support::Rows;
using test_support::ServerProcess;
using test_support::Site;
using test_support::tries_all;

struct Kind {
  friend void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

  FaultKind fault;
  std::string_view name;
  std::size_t step;         // between those that the short run tries
  std::vector<int> errors;  // the short run tries the first one
};

const std::vector<Kind> kKinds = {
    {FaultKind::kAllocation, "Allocation", 17, {0}},
    {FaultKind::kSqliteMemory, "MemoryOfSqlite", 29, {0}},
    {FaultKind::kSqliteCall,
     "CallOfSqlite",
     5,
     {SQLITE_NOMEM, SQLITE_IOERR, SQLITE_FULL, SQLITE_CORRUPT, SQLITE_INTERRUPT, SQLITE_BUSY}},
    {FaultKind::kShortWrite, "ShortWrite", 23, {0}},
    {FaultKind::kSystemCall, "SystemCall", 5, {EIO, ENOSPC, EINTR, EMFILE, ENOMEM}},
};

std::size_t open_files() {
  return static_cast<std::size_t>(std::distance(
      std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator()));
}

/// What this program holds that has to be given back.
struct Holdings {
  std::size_t allocations = test_support::live_allocations();
  sqlite3_int64 memory_of_sqlite = sqlite3_memory_used();
  std::size_t files = open_files();
  friend bool operator==(const Holdings&, const Holdings&) = default;
};

/// One job with each call of one kind failing, one at a time.
class EveryCallFailsOnce : public testing::TestWithParam<std::tuple<Job, Kind>> {
 protected:
  EveryCallFailsOnce() {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, MetaID)"
        "  VALUES (1, 'A component with a name that is long', 0, 2, 'META'),"
        "         (2, 'Another one', 0, 2, 'META');"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex,"
        "  TotalLogins) VALUES ('00-00-00-00-00-AA', 'PC1', 1, 5, 1, 10, 7);"
        "INSERT INTO DW_Reports (ReportName, Title, TTX_Binary, Report_Binary)"
        "  VALUES ('Sales', 'T', x'414243', x'00'), ('Stock', 'T', x'414243', NULL);");
    fresh_ = content_of(database_.file());
  }

  [[nodiscard]] static const Job& job() { return std::get<Job>(GetParam()); }
  [[nodiscard]] static const Kind& kind() { return std::get<Kind>(GetParam()); }

  /// A site at which the job can begin, everything else as at the first time.
  [[nodiscard]] Site prepare() {
    for (const auto& entry : std::filesystem::directory_iterator(database_.folder())) {
      std::filesystem::remove(entry.path());
    }
    std::ofstream(database_.file(), std::ios::binary) << fresh_;
    Site site;
    site.put_files(folder_);
    site.process = std::make_unique<ServerProcess>(database_);
    site.process->host.payload_folder = site.files;
    if (job().prepare != nullptr) {
      EXPECT_TRUE(site.process->connect());
      site.load();
      job().prepare(site);
      site.process->state.errors = ErrorState();
      site.process->state.failures.clear();
    }
    return site;
  }

  /// All rows, but for what a maintenance leaves in them by the way.
  [[nodiscard]] Rows stored() const {
    Rows rows;
    auto database = database_.open_plainly();
    for (const std::string query :
         {"SELECT 'component', CompID, CompName, MetaID FROM DW_SEC_COMP",
          "SELECT 'PC', MACNbr, ComputerID, CompID, LastUser, TotalLogins FROM DW_SEC_PC",
          // Of the report file its size, its ends, and where it has a byte that was never written.
          "SELECT 'report', ReportName, Title, TTX_Binary, Definition, length(Report_Binary),"
          "  substr(Report_Binary, 1, 8), substr(Report_Binary, -8),"
          "  instr(Report_Binary, x'00') FROM DW_Reports"}) {
      for (const auto& row : database.run(query)) {
        std::string line;
        for (const auto& value : row) line += value + '|';
        rows.insert(std::move(line));
      }
    }
    return rows;
  }

  void expect_no_lock() const {
    EXPECT_FALSE(sqlite::any_row_locked(database_.file())) << "a row stays locked";
  }

  /// Nobody reads or writes the file between the calls of a client.
  void expect_idle() const {
    EXPECT_EQ(database_.value("PRAGMA wal_checkpoint(TRUNCATE)"), "0") << "a transaction is open";
    EXPECT_EQ(database_.value("PRAGMA integrity_check"), "ok");
  }

  void expect_account(const Site& site) const {
    const auto& state = site.process->state;
    EXPECT_NE(state.failures.last().kind, ado::FailureKind::kNone) << "no cause";
    if (job().failure == Job::Failure::kCause) return;
    EXPECT_NE(state.errors.number(), 0) << "no account";
    EXPECT_FALSE(state.errors.message().empty()) << "no account";
  }

  [[nodiscard]] Picture picture(const Site& site) const {
    return {stored(), files_in(site.files), site.shown()};
  }

  /// Whether the fault struck.
  bool attempt(std::size_t nth, int error, const Picture& after) {
    Site site = prepare();
    const Picture before = picture(site);
    for (int answer = 0; answer < 3; ++answer) {
      site.process->host.box.will_answer(nth % 2 == 0 ? platform::Answer::kRetry
                                                      : platform::Answer::kCancel);
    }
    bool struck = false;
    bool went_well = false;
    {
      const InjectedFault fault(kind().fault, nth, error);
      EXPECT_NO_THROW(went_well = job().run(site));
      struck = fault.struck();
    }
    if (!struck) return false;
    EXPECT_TRUE(went_well || kind().fault != FaultKind::kShortWrite) << "the rest was not written";
    expect_idle();
    if (!site.locked()) expect_no_lock();
    const Picture now = picture(site);
    expect_whole(now, before, after);
    if (went_well) {
      EXPECT_TRUE(now.rows == after.rows) << "it went well, and is not in the database";
      if (site.process != nullptr && site.process->message().empty()) {
        EXPECT_EQ(now.shown, after.shown) << "it went well, and does not show";
      }
      return true;
    }
    expect_account(site);
    const bool written = now.rows != before.rows;
    if (written && job().writes == Job::Writes::kAtOnce) {
      EXPECT_TRUE(site.process->state.failures.last().outcome_unknown)
          << "it failed, and is in the database: "
          << to_display_utf8(site.process->state.errors.message());
    }
    const bool lost = !site.process->state.connected();
    if (written || lost) site.load();
    if (written) return true;
    if (lost && job().prepare != nullptr) job().prepare(site);
    site.process->state.errors = ErrorState();
    bool again = job().run(site);
    if (!again && kind().fault == FaultKind::kAllocation && site.locked()) {
      // A new row that was written, and could not be noted as written, has to be given back first.
      site.release();
      again = job().run(site);
    }
    EXPECT_TRUE(again) << "the next call failed: "
                       << to_display_utf8(site.process->state.errors.message());
    EXPECT_TRUE(stored() == after.rows) << "the next call did not do its work";
    return true;
  }

  test_support::TemporaryFolder folder_;
  EmbeddedDatabase database_;
  std::string fresh_;
};

TEST_P(EveryCallFailsOnce, AndNothingIsLostOrLeftBehind) {
  Picture after;
  {
    Site site = prepare();
    ASSERT_TRUE(job().run(site)) << to_display_utf8(site.process->message());
    after = picture(site);
  }
  std::size_t tried = 0;
  for (std::size_t at = 0; at < (tries_all() ? kind().errors.size() : 1); ++at) {
    const std::size_t step = tries_all() ? 1 : kind().step;
    for (std::size_t nth = 1;; nth += step) {
      SCOPED_TRACE(testing::Message() << "call " << nth << ", error " << kind().errors[at]);
      const Holdings before;
      const bool struck = attempt(nth, kind().errors[at], after);
      if (HasFailure() || !struck) break;
      expect_no_lock();
      // The first failure of all has the libraries set something up for good.
      EXPECT_TRUE(tried++ == 0 || Holdings() == before) << "something was not given back";
    }
  }
  std::printf("tried %zu\n", tried);
  std::fflush(stdout);  // what is told counts even where the time is up before the end
}

INSTANTIATE_TEST_SUITE_P(, EveryCallFailsOnce,
                         testing::Combine(testing::ValuesIn(all_jobs()), testing::ValuesIn(kKinds)),
                         [](const auto& test) {
                           return std::string(std::get<Job>(test.param).name) + "_" +
                                  std::string(std::get<Kind>(test.param).name);
                         });

}  // namespace
}  // namespace tarnwick
