#include "tests/model/reference_model.h"

namespace tarnwick::model {
namespace {

RowName row_named(Kind kind, int number) {
  if (kind == kComponents) return row_of_component(chosen(kComponentIds, number));
  if (kind == kReports) return row_of_report(chosen(kReportNames, number));
  const PcName& name = chosen(kPcNames, number);
  return row_of_pc(name.mac, name.computer, name.component);
}

// Other programs name a report as it is spelt.
bool is_spelt_as_chosen(const World& world, Kind kind, int number) {
  const StoredRow* row = world.database.find(row_named(kind, number));
  if (row == nullptr || kind != kReports || world.traits.folds_all_letters) return row != nullptr;
  return lower(printed(row->columns.at("ReportName"))) == lower(chosen(kReportNames, number));
}

void insert_row(Database& database, Kind kind, int number) {
  const RowName name = row_named(kind, number);
  if (database.find(name) != nullptr) return;
  StoredRow row;
  row.version = database.next_version();
  if (kind == kComponents) {
    row.columns = {{"CompID", std::int64_t{chosen(kComponentIds, number)}},
                   {"ForceDisplay", std::int64_t{0}},
                   {"MaintType", std::int64_t{2}},
                   {"MetaID", std::string("abc")}};
  } else if (kind == kPcs) {
    const PcName& pc = chosen(kPcNames, number);
    row.columns = {{"MACNbr", std::string(pc.mac)},        {"ComputerID", std::string(pc.computer)},
                   {"CompID", std::int64_t{pc.component}}, {"MaintType", std::int64_t{5}},
                   {"ActiveStatus", std::int64_t{1}},      {"ImageIndex", std::int64_t{10}}};
  } else {
    row.columns = {{"ReportName", std::string(chosen(kReportNames, number))},
                   {"TTX_Binary", std::string("x\xE9")},
                   {"Report_Binary", std::string("file")}};
  }
  database.tables[kind][name.second] = std::move(row);
}

// The holder of the row may give it back while the question is open: its owner has to be one that a
// client still has.
std::optional<std::pair<int, int>> place_of(World& world, const Record* owner) {
  for (int process = 0; process < kProcesses; ++process) {
    for (int place = 0; place < kPlaces; ++place) {
      const auto& record = world.processes[static_cast<std::size_t>(process)]
                               ->places[static_cast<std::size_t>(place)];
      if (record != nullptr && record.get() == owner) return std::pair(process, place);
    }
  }
  return std::nullopt;
}

// The number of another process that holds the row.
std::optional<int> other_process_of(const World& world, const Process& asking,
                                    const Record* owner) {
  for (int number = 0; number < kProcesses; ++number) {
    const Process* process = world.processes[static_cast<std::size_t>(number)].get();
    if (process != &asking && process == &owner->process) return number;
  }
  return std::nullopt;
}

}  // namespace

std::string path_of(const std::string& file) { return kAnyText + file; }

World::World(const Traits& of) : traits(of.database) {
  for (const File& file : kFiles) {
    if (file.bytes != nullptr) files[file.name] = file.bytes;
  }
  for (const ProcessTraits& each : of.processes) {
    processes.push_back(std::make_unique<Process>(*this, each));
  }
}

void kill_process(World& world, int number) {
  auto& process = world.processes[static_cast<std::size_t>(number)];
  for (const auto& each : world.database.connections) {
    const ConnectionPtr connection = each.lock();
    if (connection == nullptr || connection->process != process.get()) continue;
    connection->cut = true;
    connection->transaction.reset();
  }
  process = std::make_unique<Process>(world, process->traits);
}

void write_from_outside(World& world, const Step& step) {
  Database& database = world.database;
  const auto kind = static_cast<Kind>(step.kind % kKinds);
  const RowName name = row_named(kind, step.key);
  if (world.traits.locks_bind_everybody && database.holder(name, nullptr) != nullptr) return;
  if (step.op == Op::kInsertRow) {
    insert_row(database, kind, step.key);
    return;
  }
  if (!is_spelt_as_chosen(world, kind, step.key)) return;
  if (step.op == Op::kDeleteRow) {
    database.tables[kind].erase(name.second);
    return;
  }
  StoredRow& row = database.tables[kind].at(name.second);
  row.version = database.next_version();
  if (step.op == Op::kTouchRow) return;
  const Spoiling& spoiling = chosen(kSpoilings[kind], step.value);
  const std::string sql = spoiling.sql;
  row.columns[spoiling.column] = sql == "NULL"    ? Datum()
                                 : sql == "99999" ? Datum(std::int64_t{99999})
                                                  : Datum(std::string("oops"));
}

bool ask(Process& asking, const Transaction* holder) {
  if (asking.traits.asks_nobody) return false;
  World& world = asking.world;
  Answer answer;
  if (world.answer_plan == 1) {
    answer.retry = world.answers.empty();
  } else if (world.answer_plan == 2 && holder != nullptr) {
    answer.released = place_of(world, holder->owner);
    answer.retry = answer.released.has_value();
  } else if (world.answer_plan == 3 && holder != nullptr) {
    answer.killed = other_process_of(world, asking, holder->owner);
    answer.retry = answer.killed.has_value();
  }
  world.answers.push_back(answer);
  if (answer.released) {
    const auto& process = world.processes[static_cast<std::size_t>(answer.released->first)];
    (void)release_record(*process->places[static_cast<std::size_t>(answer.released->second)]);
  }
  if (answer.killed) kill_process(world, *answer.killed);
  return answer.retry;
}

}  // namespace tarnwick::model
