#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <new>
#include <ostream>

#include "pcs/refresh_pcs.h"
#include "records/recordset_access.h"
#include "records/report_lookup.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"
#include "tests/support/failing_allocation.h"
#include "tests/support/registered_pc_setters.h"

namespace tarnwick {
namespace {

using test_support::EmbeddedDatabase;
using test_support::FailingAllocation;
using test_support::ServerProcess;

/// A connected server with one record of each kind, loaded.
struct Loaded {
  ServerProcess& process;
  SharedState& state;
  std::shared_ptr<Component> component;
  std::shared_ptr<RegisteredPC> pc;
  std::shared_ptr<Report> report;
  std::shared_ptr<Report> new_report;  // in no list
  Text file;                           // field definitions
  Text target;                         // a file that can be written
};

struct Call {
  TextView component;
  TextView procedure;
  std::function<void(Loaded&)> run;

  friend void PrintTo(const Call& call, std::ostream* out) {
    *out << to_utf8(call.component) << "." << to_utf8(call.procedure);
  }
};

std::string name_of(const testing::TestParamInfo<Call>& info) {
  std::string name = to_utf8(info.param.component) + "_" + to_utf8(info.param.procedure);
  std::erase(name, '.');
  return name;
}

class WithDatabase : public testing::Test {
 protected:
  void SetUp() override {
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType, MetaID)"
        "  VALUES (1, 'A component with a name that is long', 0, 2, 'META');"
        "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex)"
        "  VALUES ('00-00-00-00-00-AA', 'PC1', 1, 5, 1, 10);"
        "INSERT INTO DW_Reports (ReportName, Title, TTX_Binary, Report_Binary)"
        "  VALUES ('A report with a name that is long', 'T', x'414243', x'00');");
    folder_.write("fields.ttx", "some field definitions");
    ASSERT_TRUE(process_.connect());
  }

  /// What every call begins with: nothing locked, all loaded, no errors.
  Loaded load() {
    SharedState& state = process_.state;
    process_.server = std::make_unique<Server>(state);
    EXPECT_TRUE(process_.connect());
    EXPECT_TRUE(process_.server->refresh());
    process_.set_lock_timeout(0);
    state.errors = ErrorState();
    const auto new_report = std::make_shared<Report>(state);
    new_report->set_name(u"A name that is in no list");
    return {process_,
            state,
            process_.server->components()->item(std::int32_t{1}),
            process_.server->registered_pcs()->item(std::int32_t{1}),
            process_.server->reports()->item(std::int32_t{1}),
            new_report,
            from_utf8((folder_.path() / "fields.ttx").string()),
            from_utf8((folder_.path() / "out.ttx").string())};
  }

  test_support::TemporaryFolder folder_;
  EmbeddedDatabase database_;
  ServerProcess process_{database_};
};

/// Each procedure with each of its allocations failing, one at a time.
class OutOfMemory : public WithDatabase, public testing::WithParamInterface<Call> {};

TEST_P(OutOfMemory, IsRecordedUnderTheProceduresNamesAndNeverThrown) {
  const Text names = join({u"\r\nError in Component: '", GetParam().component, u"', Proceedure: '",
                           GetParam().procedure, u"'.\r\n"});
  int recorded = 0;
  for (std::size_t nth = 1;; ++nth) {
    Loaded loaded = load();
    bool failed = false;
    {
      const FailingAllocation failing(nth);
      EXPECT_NO_THROW(GetParam().run(loaded)) << "at allocation " << nth;
      failed = failing.failed();
    }
    if (!failed) break;
    const Text& message = loaded.state.errors.message();
    if (message.find(names) != Text::npos) ++recorded;
    if (message.find(u"Error #:") != Text::npos) {
      EXPECT_NE(loaded.state.errors.number(), 0);
    }
  }
  EXPECT_GT(recorded, 0);
}

const Call kCalls[] = {
    {u"Server", u"Class_Initialize", [](Loaded& on) { const Server server(on.state); }},
    {u"Server", u"SetConnection",
     [](Loaded& on) {
       (void)on.process.server->set_connection(u"Provider=Nobody;Data Source=/nowhere", u"r", u"p");
     }},
    {u"Components", u"Refresh",
     [](Loaded& on) { (void)on.process.server->components()->refresh(); }},
    {u"Components", u"Add",
     [](Loaded& on) {
       (void)on.process.server->components()->add(2, u"A name that is long enough", 0, 0, 1, false,
                                                  0, None_rc, u"", u"");
     }},
    {u"Components", u"AddCompObject",
     [](Loaded& on) { (void)on.process.server->components()->add_comp_object(on.component); }},
    {u"Components", u"FindMetaID",
     [](Loaded& on) { (void)on.process.server->components()->find_meta_id(u"meta"); }},
    {u"Component", u"Refresh", [](Loaded& on) { (void)on.component->refresh(); }},
    {u"Component", u"Update", [](Loaded& on) { (void)on.component->update(); }},
    {u"RegisteredPCs", u"Add",
     [](Loaded& on) {
       NewRegisteredPC values;
       values.mac_number = u"another one";
       (void)on.process.server->registered_pcs()->add(values);
     }},
    {u"RegisteredPCs", u"AddPCObject",
     [](Loaded& on) { (void)on.process.server->registered_pcs()->add_pc_object(on.pc); }},
    {u"RegisteredPC", u"LockRecord", [](Loaded& on) { (void)on.pc->lock_record(); }},
    {u"RegisteredPC", u"Update", [](Loaded& on) { (void)on.pc->update(); }},
    {u"Reports", u"Add",
     [](Loaded& on) {
       NewReport values;
       values.report_name = u"another one";
       (void)on.process.server->reports()->add(values);
     }},
    {u"Reports", u"AddReportObject",
     [](Loaded& on) { (void)on.process.server->reports()->add_report_object(on.new_report); }},
    {u"RegisteredPCs", u"Refresh",
     [](Loaded& on) { (void)on.process.server->reports()->refresh(); }},
    {u"Report", u"Refresh", [](Loaded& on) { (void)on.report->refresh(); }},
    {u"Report", u"Update", [](Loaded& on) { (void)on.report->update(on.file); }},
    {u"Report", u"ImportTTX", [](Loaded& on) { (void)on.report->import_ttx(on.file); }},
    {u"Report", u"ExtractTTX", [](Loaded& on) { (void)on.report->extract_ttx(on.target); }},
    {u"Report", u"ExtractReport", [](Loaded& on) { (void)on.report->extract_report(on.target); }},
    {u"General", u"UpdateRead", [](Loaded& on) { (void)on.component->lock_record(); }},
    {u"General", u"UpdateWrite", [](Loaded& on) { (void)on.component->update(); }},
    {u"General", u"CheckReportRS",
     [](Loaded& on) { (void)check_report_rs(on.state, u"A report with a name that is long"); }},
    {u"General", u"GetRecordset",
     [](Loaded& on) {
       (void)get_recordset(on.state, u"Select 1 As One", ado::LockType::kOptimistic);
     }},
    {u"General", u"RefreshComponent",
     [](Loaded& on) { (void)on.process.server->components()->refresh(); }},
    {u"General", u"RefreshPC", [](Loaded& on) { (void)on.pc->lock_record(); }},
    {u"General", u"RefreshReport",
     [](Loaded& on) { (void)on.process.server->reports()->refresh(); }},
    {u"Tarnwick", u"General.RefreshPCs",
     [](Loaded& on) { (void)on.process.server->registered_pcs()->refresh(); }},
};

INSTANTIATE_TEST_SUITE_P(Procedures, OutOfMemory, testing::ValuesIn(kCalls), name_of);

/// Calls `call` with each of its allocations failing, one at a time, and `look` after each.
template <class Call, class Look>
void with_each_allocation_failing(Call&& call, Look&& look) {
  for (std::size_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    bool failed = false;
    {
      const FailingAllocation failing(nth);
      call();
      failed = failing.failed();
    }
    look();
    if (!failed || testing::Test::HasFailure()) return;
  }
}

class RecordWithoutMemory : public WithDatabase {};

TEST_F(RecordWithoutMemory, IsStillThePcOfItsRow) {
  Loaded loaded = load();
  with_each_allocation_failing(
      [&] {
        try {
          loaded.pc->set_total_logins(3);
        } catch (const std::bad_alloc&) {
          // The setter's own error.
        }
      },
      [&] { EXPECT_EQ(loaded.pc->computer_id(), u"PC1"); });
}

TEST_F(RecordWithoutMemory, GivesItsRowBackThoughTheTraceCannotTell) {
  Loaded loaded = load();
  ASSERT_TRUE(loaded.pc->lock_record());
  process_.recorder.before_step = [](TextView line) {
    if (line == u"Rollback") throw std::bad_alloc();
  };
  EXPECT_TRUE(loaded.pc->release_record());
  EXPECT_EQ(loaded.state.connection->held_rows().size(), 0u);
}

TEST_F(RecordWithoutMemory, KeepsNoRowThatItDidNotGet) {
  Loaded loaded = load();
  ServerProcess other(database_);
  ASSERT_TRUE(other.connect());
  ASSERT_TRUE(other.server->refresh());
  other.set_lock_timeout(0);
  const auto same = other.server->reports()->item(std::int32_t{1});
  // What may ask is a failure that is no lock.
  for (int number = 0; number < 1'000; ++number) {
    process_.host.box.will_answer(platform::Answer::kCancel);
  }
  with_each_allocation_failing([&] { (void)loaded.report->lock_record(); },
                               [&] {
                                 (void)loaded.report->release_record();
                                 EXPECT_TRUE(same->lock_record());
                                 EXPECT_TRUE(same->release_record());
                               });
}

TEST_F(RecordWithoutMemory, SaysThatANewRowIsWrittenIfItIs) {
  Loaded loaded = load();
  for (int number = 0; number < 1'000; ++number) {
    process_.host.box.will_answer(platform::Answer::kCancel);
  }
  UpdateErrorEnum result = Error_ue;
  with_each_allocation_failing(
      [&] { result = loaded.new_report->update(); },
      [&] {
        const auto rows = database_.run("SELECT 1 FROM DW_Reports WHERE ReportName LIKE 'A name%'");
        EXPECT_EQ(rows.size(), result == OK_ue ? 1u : 0u);
        database_.run("DELETE FROM DW_Reports WHERE ReportName LIKE 'A name%'");
        loaded.new_report = std::make_shared<Report>(loaded.state);
        loaded.new_report->set_name(u"A name that is in no list");
      });
}

TEST_F(RecordWithoutMemory, LeavesNoFileBesideTheOneThatItExtracts) {
  Loaded loaded = load();
  with_each_allocation_failing(
      [&] { (void)loaded.report->extract_report(loaded.target); },
      [&] {
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
          EXPECT_THAT(entry.path().filename(), testing::AnyOf("fields.ttx", "out.ttx"));
        }
      });
}

/// A Server whose creation ran out of memory before it had any collection.
class ServerWithoutCollections : public ::testing::Test {
 protected:
  void SetUp() override {
    std::size_t nth = 0;
    do {
      const FailingAllocation failing(++nth);
      server_.emplace(state_);
    } while (state_.reports != nullptr && nth < 100);
    ASSERT_EQ(state_.reports, nullptr);
    ASSERT_EQ(state_.errors.message(),
              test_support::account(u"Server", u"Class_Initialize", 7, u"Out of memory"));
    state_.errors = ErrorState();
  }

  template <class Get>
  void expect_recorded(TextView procedure, Get&& get) {
    {
      const FailingAllocation failing(1);
      EXPECT_EQ(get(), nullptr);
    }
    EXPECT_EQ(state_.errors.message(),
              test_support::account(u"Server", procedure, 7, u"Out of memory"));
    const auto made = get();
    ASSERT_NE(made, nullptr) << "the next call makes the collection";
    EXPECT_EQ(get(), made);
    EXPECT_EQ(made->count(), 0);
  }

  test_support::TemporaryFolder folder_;
  test_support::ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
  std::optional<Server> server_;
};

TEST_F(ServerWithoutCollections, RecordsThatReportsCannotBeMade) {
  expect_recorded(u"Reports", [&] { return server_->reports(); });
}

TEST_F(ServerWithoutCollections, RecordsThatRegisteredPcsCannotBeMade) {
  expect_recorded(u"RegisteredPCs", [&] { return server_->registered_pcs(); });
}

TEST_F(ServerWithoutCollections, RecordsThatComponentsCannotBeMade) {
  expect_recorded(u"Components", [&] { return server_->components(); });
}

}  // namespace
}  // namespace tarnwick
