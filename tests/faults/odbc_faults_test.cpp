#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "engines/odbc/engine.h"
#include "engines/odbc/result.h"
#include "runtime/conversions.h"
#include "tests/engines/fetched_rows.h"
#include "tests/engines/odbc/faulty_odbc.h"
#include "tests/faults/job.h"
#include "tests/faults/picture.h"
#include "tests/stand_in/stand_in.h"
#include "tests/support/failing_allocation.h"

namespace tarnwick {
namespace {

using odbc_test::FaultyOdbc;
using test_support::all_jobs;
using test_support::files_in;
using test_support::Job;
using test_support::live_allocations;
using test_support::Picture;
using test_support::Rows;
using test_support::ServerProcess;
using test_support::Site;
using test_support::StandIn;
using test_support::tries_all;

/// Between the calls that the short run tries.
constexpr std::size_t kStep = 41;

/// One job on SQL Server, through the real driver manager and FreeTDS, with each call of ODBC
/// failing, one at a time.
class EveryCallOfOdbcFailsOnce : public testing::TestWithParam<Job> {
 protected:
  EveryCallOfOdbcFailsOnce() {
    server().run(u"SET LOCK_TIMEOUT 0");  // starts it
    odbc::OdbcEngine sound;
    observer_ = sound.connect(ado::ConnectionString::parse(server().connection_string()));
    observer_->set_default_database(u"Velmar_Sec");
    observer_->execute(u"SET LOCK_TIMEOUT 0");
  }

  /// One for all tests: each of them puts its rows anew.
  static StandIn& server() {
    static const auto kServer = [] {
      auto made = std::make_unique<StandIn>();
      made->make_database();
      return made;
    }();
    return *kServer;
  }

  /// A site at which the job can begin, everything else as at the first time.
  [[nodiscard]] Site prepare() {
    for (const TextView statement :
         {u"Delete From DW_SEC_COMP", u"Delete From DW_SEC_PC", u"Delete From DW_Reports",
          u"Insert Into DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, MetaID)"
          u" Values (1, 'A component with a name that is long', 0, 2, 'META')",
          u"Insert Into DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, MetaID)"
          u" Values (2, 'Another one', 0, 2, 'META')",
          u"Insert Into DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus,"
          u" ImageIndex, TotalLogins) Values ('00-00-00-00-00-AA', 'PC1', 1, 5, 1, 10, 7)",
          u"Insert Into DW_Reports (ReportName, Title, TTX_Binary, Report_Binary)"
          u" Values ('Sales', 'T', 0x414243, 0x00)",
          u"Insert Into DW_Reports (ReportName, Title, TTX_Binary)"
          u" Values ('Stock', 'T', 0x414243)"}) {
      observer_->execute(statement);
    }
    Site site;
    site.put_files(folder_);
    site.process = std::make_unique<ServerProcess>(
        engine_, ServerProcess::Login{server().connection_string(), Text(StandIn::kRole),
                                      Text(StandIn::kRolePassword)});
    site.process->host.payload_folder = site.files;
    if (GetParam().prepare != nullptr) {
      EXPECT_TRUE(site.process->connect());
      site.load();
      GetParam().prepare(site);
      forget_failures(site);
    }
    return site;
  }

  static void forget_failures(Site& site) {
    site.process->state.errors = ErrorState();
    site.process->state.failures.clear();
  }

  static std::string shown(const Variant& value) {
    if (is_null(value)) return "";
    const auto* const bytes = std::get_if<Bytes>(&value);
    if (bytes == nullptr) return to_utf8(to_text(value));
    return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
  }

  /// All rows, but for what a maintenance leaves in them by the way. A row that stays locked is an
  /// error.
  [[nodiscard]] Rows stored() const {
    Rows rows;
    for (const TextView query :
         {u"Select CompID, CompName, MetaID From DW_SEC_COMP",
          u"Select MACNbr, ComputerID, CompID, LastUser, TotalLogins From DW_SEC_PC",
          u"Select ReportName, Title, TTX_Binary, Definition, Report_Binary From DW_Reports"}) {
      const engine_contract::FetchedRows fetched(
          observer_->open({.statement = query,
                           .location = ado::CursorLocation::kClient,
                           .type = ado::CursorType::kStatic,
                           .lock = ado::LockType::kReadOnly}),
          odbc::kAllRows);
      for (std::size_t row = 0; row < fetched.size(); ++row) {
        std::string line;
        for (const ado::Cell& cell : fetched.cells(row)) {
          line += shown(cell.to_variant()) + '|';
        }
        rows.insert(std::move(line));
      }
    }
    return rows;
  }

  [[nodiscard]] Picture picture(const Site& site) const {
    return {stored(), files_in(site.files), site.shown()};
  }

  static void expect_account(const Site& site) {
    const auto& state = site.process->state;
    EXPECT_NE(state.failures.last().kind, ado::FailureKind::kNone) << "no cause";
    if (GetParam().failure == Job::Failure::kCause) return;
    EXPECT_NE(state.errors.number(), 0) << "no account";
    EXPECT_FALSE(state.errors.message().empty()) << "no account";
  }

  /// Whether the fault struck.
  bool attempt(std::size_t nth, const Picture& before, const Picture& after) {
    Site site = prepare();
    for (int answer = 0; answer < 3; ++answer) {
      site.process->host.box.will_answer(nth % 2 == 0 ? platform::Answer::kRetry
                                                      : platform::Answer::kCancel);
    }
    api_.calls = 0;
    api_.failing_call = nth;
    bool went_well = false;
    EXPECT_NO_THROW(went_well = GetParam().run(site));
    const bool struck = api_.has_failed();
    api_.failing_call = 0;
    if (!struck) return false;
    if (site.process == nullptr) {
      test_support::expect_whole(picture(site), before, after);
      return true;
    }
    if (!went_well) expect_account(site);
    const bool unknown = site.process->state.failures.last().outcome_unknown;
    const Text shown_by_then = site.shown();
    if (site.process->state.connected()) site.release();
    Picture now;
    EXPECT_NO_THROW(now = picture(site)) << "a row stays locked";
    test_support::expect_whole(now, before, after);
    if (went_well) {
      EXPECT_TRUE(now.rows == after.rows) << "it went well, and is not in the database";
      if (site.process->message().empty()) {
        EXPECT_EQ(shown_by_then, after.shown) << "it went well, and does not show";
      }
      return true;
    }
    const bool written = now.rows != before.rows;
    if (written && GetParam().writes == Job::Writes::kAtOnce) {
      EXPECT_TRUE(unknown) << "it failed, and is in the database: "
                           << to_display_utf8(site.process->message());
    }
    const bool lost = !site.process->state.connected();
    if (written || lost) site.load();
    if (written) return true;
    if (GetParam().prepare != nullptr) GetParam().prepare(site);
    forget_failures(site);
    EXPECT_TRUE(GetParam().run(site))
        << "the next call failed: " << to_display_utf8(site.process->message());
    if (site.process != nullptr) site.release();
    EXPECT_TRUE(stored() == after.rows) << "the next call did not do its work";
    return true;
  }

  test_support::TemporaryFolder folder_;
  std::unique_ptr<ado::EngineSession> observer_;
  FaultyOdbc api_;
  odbc::OdbcEngine engine_{api_};
};

TEST_P(EveryCallOfOdbcFailsOnce, AndNothingIsLostOrLeftBehind) {
  Picture before;
  Picture after;
  {
    Site site = prepare();
    if (site.locked()) site.release();
    before = picture(site);
  }
  {
    Site site = prepare();
    ASSERT_TRUE(GetParam().run(site)) << to_display_utf8(site.process->message());
    after.shown = site.shown();
    if (site.process != nullptr) site.release();
    after.rows = stored();
    after.files = files_in(site.files);
  }
  std::size_t tried = 0;
  const auto gives_all_back = [&](std::size_t nth) {
    const std::size_t allocations = live_allocations();
    EXPECT_TRUE(attempt(nth, before, after));
    return live_allocations() == allocations;
  };
  for (std::size_t nth = 1;; nth += tries_all() ? 1 : kStep) {
    SCOPED_TRACE(testing::Message() << "call " << nth);
    const std::size_t allocations = live_allocations();
    const bool struck = attempt(nth, before, after);
    EXPECT_EQ(api_.open_handles, 0) << "a handle was not given back";
    if (HasFailure() || !struck) break;
    // What is set up for good at the first failure of its kind is not set up once more.
    EXPECT_TRUE(live_allocations() == allocations || gives_all_back(nth))
        << "memory was not given back";
    ++tried;
  }
  EXPECT_GT(tried, 0u);
  std::printf("tried %zu\n", tried);
  std::fflush(stdout);  // what is told counts even where the time is up before the end
}

std::vector<Job> jobs_on_the_database() {
  std::vector<Job> jobs = all_jobs();
  // A record has its field definitions once it is loaded.
  std::erase_if(jobs, [](const Job& job) { return job.name == "ExtractFieldDefinitions"; });
  return jobs;
}

INSTANTIATE_TEST_SUITE_P(, EveryCallOfOdbcFailsOnce, testing::ValuesIn(jobs_on_the_database()),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace tarnwick
