#include "tests/faults/job.h"

#include <gtest/gtest.h>

#include "tests/support/component_setters.h"
#include "tests/support/failing_allocation.h"

namespace tarnwick::test_support {
namespace {

using Unfailing = UnfailingAllocations;

const Text kPc = u"00-00-00-00-00-AA\u00FEPC1\u00FE1";
const Variant kPcKey = kPc;
const Text kNewReport = u"A new report";
const Variant kNewReportKey = kNewReport;
const Text kNewPc = u"00-00-00-00-00-BB\u00FEPC2\u00FE1";
const Variant kNewPcKey = kNewPc;
const NewReport kReportToAdd = [] {
  NewReport values;
  values.report_name = kNewReport;
  values.title = u"Added to the catalog";
  return values;
}();
const NewRegisteredPC kPcToAdd = [] {
  NewRegisteredPC values;
  values.mac_number = u"00-00-00-00-00-BB";
  values.computer_id = u"PC2";
  values.comp_id = 1;
  return values;
}();

bool connect(Site& site) {
  const ServerProcess::Login& login = site.process->login();
  return site.process->server->set_connection(login.connection_string, login.role, login.password);
}

bool add_pc(Site& site) {
  const auto pcs = site.process->server->registered_pcs();
  const auto pc = pcs->exists(kNewPc) ? pcs->item(kNewPcKey) : pcs->add(kPcToAdd);
  return pc != nullptr && pc->update() == OK_ue;
}

bool add_report(Site& site) {
  const auto reports = site.process->server->reports();
  const auto report =
      reports->exists(kNewReport) ? reports->item(kNewReportKey) : reports->add(kReportToAdd);
  return report != nullptr && report->update(site.report_file) == OK_ue;
}

bool update_pc(Site& site) {
  if (!site.pc->lock_record()) return false;
  {
    const Unfailing own;
    site.pc->set_total_logins(8);
    site.pc->set_last_user(u"The next user of this computer");
  }
  return site.pc->update() == OK_ue;
}

bool update_component(Site& site) {
  if (!site.component->lock_record()) return false;
  {
    const Unfailing own;
    ComponentSetters{*site.component}.name(u"Another name that is long enough");
  }
  return site.component->update() == OK_ue;
}

bool update_report(Site& site) {
  if (!site.report->lock_record()) return false;
  {
    const Unfailing own;
    site.report->set_title(u"Another value, long enough");
    site.report->set_definition(u"Another value, long enough");
    site.report->set_ttx(u"Another value, long enough");
  }
  return site.report->update() == OK_ue;
}

bool load_in_bulk(Site& site) {
  ado::Connection& connection = *site.process->state.connection;
  const bool loaded = succeeds(site.process->state, [&] {
    connection.begin_load();
    connection.execute(u"INSERT INTO DW_Reports (ReportName, Title) VALUES ('One', 'T')");
    connection.execute(u"INSERT INTO DW_Reports (ReportName, Title) VALUES ('Two', 'T')");
    try {
      connection.commit_trans();
    } catch (const Error&) {
      note_cause_of_commit(site.process->state);
      throw;
    }
  });
  if (!loaded && connection.in_transaction()) connection.rollback_trans();
  return loaded;
}

}  // namespace

void Site::put_files(const TemporaryFolder& folder) {
  files = folder.path() / "files";
  std::filesystem::remove_all(files);
  folder.write("files/fields.ttx", "some field definitions");
  // Long enough for the embedded engine to write it behind its row.
  folder.write("files/report.rpt", std::string(1'100'000, '\7'));
  folder.write("files/extracted.rpt", "an earlier file");
  const auto file = [&](const char* name) { return from_utf8((files / name).string()); };
  field_definitions = file("fields.ttx");
  report_file = file("report.rpt");
  extracted = file("extracted");
  extracted_report = file("extracted.rpt");
}

void Site::load() {
  EXPECT_TRUE(process->state.connected() || process->connect());
  EXPECT_TRUE(process->server->refresh()) << to_display_utf8(process->message());
  process->set_lock_timeout(0);
  process->state.errors = ErrorState();
  process->state.failures.clear();
  component = process->server->components()->item(Text(u"C1"));
  const auto pcs = process->server->registered_pcs();
  pc = pcs->exists(kPc) ? pcs->item(kPcKey) : nullptr;  // deleted by the job
  const auto reports = process->server->reports();
  report = reports->exists(u"Sales") ? reports->item(Text(u"Sales")) : nullptr;
}

bool Site::locked() const {
  const auto any = [](const auto& store) {
    bool any_locked = false;
    if (store == nullptr) return false;
    for (const auto& record : *store) any_locked = any_locked || record->locked();
    return any_locked;
  };
  const auto held = [](const auto& record) { return record != nullptr && record->locked(); };
  return held(component) || held(pc) || held(report) ||
         (process != nullptr &&
          (any(process->state.registered_pcs) || any(process->state.reports)));
}

void Site::release() {
  const auto give_back = [](const auto& record) {
    if (record != nullptr) record->release_record();
  };
  give_back(component);
  give_back(pc);
  give_back(report);
  const auto give_all_back = [&](const auto& store) {
    if (store == nullptr) return;
    for (const auto& record : *store) give_back(record);
  };
  give_all_back(process->state.registered_pcs);
  give_all_back(process->state.reports);
}

Text Site::shown() const {
  Text shown;
  if (process == nullptr) return shown;
  const auto add = [&](const auto& store, auto&& line) {
    if (store == nullptr) return;
    for (const auto& record : *store) shown += join({line(*record), u"\n"});
  };
  add(process->state.components, [](Component& of) { return join({of.key(), u" ", of.name()}); });
  add(process->state.registered_pcs, [](RegisteredPC& of) {
    return join({of.key(), u" ", of.last_user()});
  });
  add(process->state.reports, [](Report& of) {
    return join({of.key(), u" ", of.title(), u" ", of.ttx()});
  });
  return shown;
}

const std::vector<Job>& all_jobs() {
  using Failure = Job::Failure;
  using Writes = Job::Writes;
  static const std::vector<Job> kJobs = {
      {"Connect", [](Site& site) { return connect(site); }, nullptr},
      {"ConnectAnew", [](Site& site) { return connect(site); }},
      {"Load", [](Site& site) { return site.process->server->refresh(); }},
      {"LoadWhileARowIsHeld", [](Site& site) { return site.process->server->refresh(); },
       [](Site& site) { EXPECT_TRUE(site.pc->lock_record()); }},
      {"LockAComponent", [](Site& site) { return site.component->lock_record(); }},
      {"LockAPc", [](Site& site) { return site.pc->lock_record(); }},
      {"LockAReport", [](Site& site) { return site.report->lock_record(); }},
      {"UpdateAComponent", update_component},
      {"UpdateAPc", update_pc},
      {"UpdateAReport", update_report},
      {"UpdateALockedPc",
       [](Site& site) {
         if (!site.pc->locked() && !site.pc->lock_record()) return false;
         {
           const Unfailing own;
           site.pc->set_total_logins(9);
         }
         return site.pc->update() == OK_ue;
       },
       [](Site& site) { EXPECT_TRUE(site.pc->lock_record()); }},
      {"RenameAReport", [](Site& site) { return site.report->update() == OK_ue; },
       [](Site& site) { site.report->set_name(u"Sales of the year"); }, Failure::kAccount,
       Writes::kInSteps},
      {"ReleaseAPc", [](Site& site) { return site.pc->release_record() && !site.pc->locked(); },
       [](Site& site) { EXPECT_TRUE(site.pc->lock_record()); }, Failure::kCause},
      {"DeleteAPc", [](Site& site) { return site.pc->remove(); }, [](Site&) {}, Failure::kCause,
       Writes::kInSteps},
      {"DeleteAReport", [](Site& site) { return site.report->remove(); }, [](Site&) {},
       Failure::kCause, Writes::kInSteps},
      {"DeleteALockedReport", [](Site& site) { return site.report->remove(); },
       [](Site& site) { EXPECT_TRUE(site.report->lock_record()); }, Failure::kCause,
       Writes::kInSteps},
      {"AddAPc", add_pc},
      {"AddAReport", add_report},
      {"StoreAReportFile",
       [](Site& site) { return site.report->update(site.report_file) == OK_ue; }},
      {"ImportFieldDefinitions",
       [](Site& site) {
         return site.report->import_ttx(site.field_definitions) && site.report->update() == OK_ue;
       }},
      {"ExtractFieldDefinitions",
       [](Site& site) { return site.report->extract_ttx(site.extracted); }},
      {"ExtractAReportFile",
       [](Site& site) { return site.report->extract_report(site.extracted_report); },
       [](Site& site) {
         EXPECT_EQ(site.report->update(site.report_file), OK_ue);
         site.load();
       }},
      {"LoadInBulk", load_in_bulk, [](Site&) {}, Failure::kCause},
      {"End",
       [](Site& site) {
         site.component.reset();
         site.pc.reset();
         site.report.reset();
         site.process.reset();
         return true;
       },
       [](Site& site) { EXPECT_TRUE(site.pc->lock_record()); }},
  };
  return kJobs;
}

}  // namespace tarnwick::test_support
