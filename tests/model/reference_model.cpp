#include "tests/model/reference_model.h"

#include <algorithm>

namespace tarnwick::model {
namespace {

using Type = Property::Type;

Sight told(std::string result) { return {{"result", std::move(result)}}; }
Sight told(bool result) { return told(std::string(result ? "True" : "False")); }

void describe(const std::string& name, const Record& record, Sight& sight) {
  sight.emplace_back(name + "Key", record.key());
  sight.emplace_back(name + "Changed", record.changed ? "True" : "False");
  sight.emplace_back(name + "Locked", record.locked() ? "True" : "False");
  sight.emplace_back(name + "Initialized", record.initialized() ? "True" : "False");
  for (const Property& property : properties_of(record.kind)) {
    sight.emplace_back(name + property.name, printed(record.values.at(property.name)));
  }
}

Sight described(const std::vector<RecordPtr>& records) {
  Sight sight = told(std::to_string(records.size()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    describe(std::to_string(i + 1) + ".", *records[i], sight);
  }
  return sight;
}

std::vector<RecordPtr> records_of(const Store& store) {
  std::vector<RecordPtr> records;
  for (const auto& entry : store.entries) records.push_back(entry.second);
  return records;
}

bool prefix_on_failure(Process& process, bool loaded, const char* complaint) {
  if (!loaded) process.message = std::string(complaint) + "\r\n" + process.message;
  return loaded;
}

void drop_stores(Process& process) {
  // Records may be the last to hold a connection: they go one after the other.
  for (const Kind kind : {kReports, kPcs, kComponents}) process.stores[kind].reset();
}

void drop_server(Process& process, std::optional<ServerObject>& server) {
  server.reset();
  drop_stores(process);
  for (const auto& other : process.servers) {
    if (other) return;
  }
  process.cached.reset();
  if (process.connected() && (!process.connection->transaction || process.connection->cut)) {
    process.connection->open = false;
  }
  process.connection.reset();
}

bool connect(Process& process, bool reachable) {
  bool result = false;
  guarded(process, "Server", "SetConnection", [&] {
    process.message.clear();
    process.cached.reset();
    if (process.connected()) {
      if (process.connection->transaction && !process.connection->cut) {
        throw Failure{3246,
                      "Connection object cannot be explicitly closed while in a transaction."};
      }
      process.connection->open = false;
    }
    process.connection = std::make_shared<Connection>();
    if (!reachable) throw Failure{-2147467259, std::string(1, kAnyText)};
    process.connection->open = true;
    process.connection->process = &process;
    process.world.database.connections.push_back(process.connection);
    result = true;
  });
  return result;
}

bool reload(Process& process, ServerObject& server) {
  bool result = false;
  guarded(process, "Server", "Refresh", [&] {
    if (process.connection == nullptr) {
      throw Failure{-2147221504, "Connection object has not been set, unable to refresh!"};
    }
    result = prefix_on_failure(process, refresh_collection(process, kComponents),
                               "Error while refreshing the Component Records!") &&
             prefix_on_failure(process, refresh_collection(process, kPcs),
                               "Error while refreshing the Registered PC Records!") &&
             prefix_on_failure(process, refresh_collection(process, kReports),
                               "Error while refreshing the Report Records!");
    if (result) server.initialized = true;
  });
  return result;
}

std::string key_text(Kind kind, int number) {
  if (kind == kComponents) {
    const std::int16_t id = chosen(kComponentIds, number);
    return id < 0 ? "" : "c" + std::to_string(id);
  }
  if (kind == kReports) return chosen(kReportNames, number);
  const PcName& name = chosen(kPcNames, number);
  return pc_key(name.mac, name.computer, name.component);
}

// An error that a call raises, of which no account is given.
Sight raised(Process& process, const Failure& failure) {
  if (process.traits.raising_tells_the_cause) note(process, cause_of(failure));
  return told("error " + std::to_string(failure.number));
}
Sight raised(Process& process, std::int32_t number) { return raised(process, Failure{number, {}}); }

Sight item(Process& process, Kind kind, RecordPtr& place, const std::string* key, int position) {
  int error = 0;
  RecordPtr found;
  if (process.stores[kind] == nullptr) {
    error = 91;
  } else if (key != nullptr) {
    found = process.stores[kind]->find(*key);
    if (found == nullptr) error = 5;
  } else {
    const auto& entries = process.stores[kind]->entries;
    if (position < 1 || static_cast<std::size_t>(position) > entries.size()) {
      error = 9;
    } else {
      found = entries[static_cast<std::size_t>(position - 1)].second;
    }
  }
  if (error != 0 && kind == kPcs) return raised(process, error);
  if (error != 0) return told(std::string("nothing"));
  place = found;
  return told(std::string("object"));
}

void let(Record& record, const Step& step) {
  const Setting& setting =
      record.kind == kPcs ? chosen(kPcSettings, step.key) : chosen(kReportSettings, step.key);
  const char* text = chosen(setting.texts, step.value);
  const Property& property = property_of(record.kind, setting.property);
  const std::int64_t number = std::string(setting.property) == "CompID"
                                  ? chosen(kComponentIds, step.value)
                                  : chosen(kSmallNumbers, step.value);
  if (text != nullptr) {
    record.set(property.name, std::string(text));
  } else if (property.type == Type::kBoolean) {
    record.set(property.name, step.value % 2 == 1);
  } else if (property.type == Type::kDate) {
    record.set(property.name, chosen(kDates, step.value));
  } else if (property.type == Type::kReportType) {
    record.set(property.name, std::int64_t{step.value % 2});
  } else {
    record.set(property.name, number);
  }
}

// A call beside the object model: its failure is the caller's.
Sight answered(Process& process, const std::function<std::string()>& answer) {
  try {
    return told(answer());
  } catch (const Failure& failure) {
    return raised(process, failure);
  }
}

Sight found_pcs(Process& process, const std::string& name) {
  return answered(process, [&] {
    (void)process.require_connection();
    std::string found;
    for (const StoredRow& row : rows_as_they_stand(process, kPcs, name)) {
      const auto& mac = std::get<std::string>(row.columns.at("MACNbr"));
      const auto& computer = std::get<std::string>(row.columns.at("ComputerID"));
      if (folded(mac) != folded(name) && folded(computer) != folded(name)) continue;
      found += pc_key(mac, computer, std::get<std::int64_t>(row.columns.at("CompID"))) + "; ";
    }
    return found;
  });
}

Sight report_files(Process& process) {
  return answered(process, [&] {
    // The length is asked for in words of the engine, which is asked for them first.
    if (!process.require_connection().open) throw Failure{3704, {}};
    require_database(*process.connection);
    std::string found;
    for (const StoredRow& row : rows_as_they_stand(process, kReports)) {
      const auto file = row.columns.find("Report_Binary");
      if (file == row.columns.end()) continue;
      const auto* bytes = std::get_if<std::string>(&file->second);
      if (bytes == nullptr) continue;
      found += std::get<std::string>(row.columns.at("ReportName")) + " " +
               std::to_string(bytes->size()) + "; ";
    }
    return found;
  });
}

std::string in_hex(const std::string& bytes) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string hex;
  for (const char byte : bytes) {
    hex += kDigits[static_cast<unsigned char>(byte) >> 4];
    hex += kDigits[static_cast<unsigned char>(byte) & 15];
  }
  return hex;
}

}  // namespace

Sight ReferenceModel::of_server(Process& process, const Step& step) {
  auto& server = process.servers[static_cast<std::size_t>(step.place % kServers)];
  if (step.op == Op::kNewServer) {
    if (server) return {};
    server.emplace();
    for (auto& store : process.stores) store = std::make_shared<Store>();
    process.message.clear();
    return {};
  }
  if (!server) return {};
  switch (step.op) {
    case Op::kDropServer:
      drop_server(process, server);
      return {};
    case Op::kConnect:
      return told(connect(process, true));
    case Op::kConnectToNothing:
      return told(connect(process, false));
    case Op::kReload:
      return told(reload(process, *server));
    default:
      return told(process.connected() && server->initialized);
  }
}

Sight ReferenceModel::of_collection(Process& process, const Step& step) {
  bool reachable = false;
  for (const auto& server : process.servers) reachable = reachable || server.has_value();
  if (!reachable) return {};
  const auto kind = static_cast<Kind>(step.kind % kKinds);
  auto& store = process.stores[kind];
  RecordPtr& place = process.places[static_cast<std::size_t>(step.place % kPlaces)];
  const std::string key = key_text(kind, step.key);
  switch (step.op) {
    case Op::kReloadCollection:
      return told(refresh_collection(process, kind));
    case Op::kReplaceStore:
      store.reset();  // a new object made one, and dropped it at its end
      return {};
    case Op::kAskCollection: {
      bool changed = false;
      std::string count = "0";
      if (store != nullptr) {
        for (const auto& entry : store->entries) changed = changed || entry.second->changed;
        count = std::to_string(store->entries.size());
      } else if (kind == kPcs) {
        count = raised(process, 91).front().second;
      }
      const bool usable = store != nullptr && !store->entries.empty() && process.connected();
      return {{"Count", count},
              {"Changed", changed ? "True" : "False"},
              {"Initialized", usable ? "True" : "False"}};
    }
    case Op::kList:
      if (store == nullptr && kind == kPcs) return raised(process, 91);
      return described(store == nullptr ? std::vector<RecordPtr>() : records_of(*store));
    case Op::kRows: {
      if (store == nullptr && kind == kPcs) return raised(process, 91);
      const auto records = store == nullptr ? std::vector<RecordPtr>() : records_of(*store);
      Sight sight = told(std::to_string(records.size()));
      for (std::size_t i = 0; i < records.size(); ++i) {
        for (const Property& property : properties_of(kind)) {
          sight.emplace_back(std::to_string(i + 1) + "." + property.name,
                             printed(records[i]->values.at(property.name)));
        }
      }
      return sight;
    }
    case Op::kFindPcs:
      return found_pcs(process, name_to_find(step));
    case Op::kReportFiles:
      return report_files(process);
    case Op::kExists:
      return told(store != nullptr && store->find(key) != nullptr);
    case Op::kAdd: {
      RecordPtr added = add(process, kind, step);
      if (added == nullptr) return told(std::string("nothing"));
      place = std::move(added);
      return told(std::string("object"));
    }
    case Op::kItemByKey:
      return item(process, kind, place, &key, 0);
    case Op::kItemByPosition:
      return item(process, kind, place, nullptr, step.key % 4);
    default: {  // kFindMetaId
      std::string wanted = chosen(kMetaIds, step.key);
      for (char& letter : wanted) {
        if (letter >= 'a') letter = static_cast<char>(letter - 'a' + 'A');
      }
      std::vector<RecordPtr> found;
      guarded(process, "Components", "FindMetaID", [&] {
        if (wanted.empty()) return;
        for (const auto& entry : process.require_store(kComponents).entries) {
          if (entry.second->text("MetaID") == wanted) found.push_back(entry.second);
        }
      });
      return described(found);
    }
  }
}

Sight ReferenceModel::of_record(Process& process, const Step& step) {
  RecordPtr& place = process.places[static_cast<std::size_t>(step.place % kPlaces)];
  if (step.op == Op::kNewRecord) {
    place = std::make_shared<Record>(process, static_cast<Kind>(step.kind % kKinds));
    return {};
  }
  const RecordPtr record = place;
  if (record == nullptr) return {};
  const std::string file = chosen(kFiles, step.key).name;
  switch (step.op) {
    case Op::kDropRecord:
      place.reset();
      return {};
    case Op::kAddObject:
      return process.servers[0] || process.servers[1] ? told(add_object(process, record)) : Sight();
    case Op::kLock:
      return told(lock_record(*record));
    case Op::kRelease:
      return told(release_record(*record));
    case Op::kUpdate:
      return told(std::to_string(update(*record, record->kind == kReports ? file : "")));
    case Op::kInsert:
      return told(std::to_string(insert(*record, record->kind == kReports ? file : "")));
    case Op::kLook:
      return look_at(*record);
    case Op::kDelete:
      return told(delete_record(*record));
    case Op::kRefreshRecord:
      return told(refresh_record(*record));
    default:
      break;
  }
  if (record->kind == kComponents) {
    if (step.op != Op::kPcsOf) return {};
    auto mine = std::make_shared<Store>();
    if (refresh_collection(process, kPcs) && process.stores[kPcs] != nullptr) {
      for (const auto& entry : process.stores[kPcs]->entries) {
        if (entry.second->number("CompID") != record->number("CompID")) continue;
        if (mine->find(entry.second->key()) == nullptr)
          mine->add(entry.second->key(), entry.second);
      }
    }
    record->pcs = records_of(*mine);
    return described(record->pcs);
  }
  if (step.op == Op::kLet) {
    let(*record, step);
    return {};
  }
  if (record->kind != kReports) return {};
  if (step.op == Op::kImportTtx) return told(import_ttx(*record, file));
  if (step.op == Op::kExtractTtx) return told(extract_ttx(*record, file));
  if (step.op == Op::kExtractReport) return told(extract_report(*record, file));
  return {};
}

void ReferenceModel::from_outside(Process& process, const Step& step) {
  if (step.op == Op::kRefuseCommit) {
    process.refuses_next_commit = true;
  } else if (step.op == Op::kKillProcess) {
    kill_process(world_, step.process % kProcesses);
  } else if (step.op == Op::kCutConnection) {
    for (const auto& each : world_.database.connections) {
      const ConnectionPtr connection = each.lock();
      if (connection != nullptr && connection->process == &process) connection->cut = true;
    }
  } else {
    write_from_outside(world_, step);
  }
}

bool ReferenceModel::can(const Step& step) const {
  if (world_.traits.deleted_rows_are_held || step.op != Op::kDelete) return true;
  const Process& process = *world_.processes[static_cast<std::size_t>(step.process % kProcesses)];
  const auto& record = process.places[static_cast<std::size_t>(step.place % kPlaces)];
  return process.connection == nullptr || !process.connection->transaction ||
         process.connection->transaction->owner == record.get();
}

Sight ReferenceModel::play(const Step& step) {
  Process& process = *world_.processes[static_cast<std::size_t>(step.process % kProcesses)];
  world_.answer_plan = step.value % (process.traits.can_be_killed ? 4 : 3);
  world_.answers.clear();
  if (step.op >= Op::kInsertRow) {
    from_outside(process, step);
    return {};
  }
  if (step.op <= Op::kAskServer) return of_server(process, step);
  const auto before = process.places;
  Sight sight =
      step.op <= Op::kFindMetaId ? of_collection(process, step) : of_record(process, step);
  for (const RecordPtr& record : before) {
    const auto& now = process.places;
    const bool dropped = std::find(now.begin(), now.end(), record) == now.end();
    if (process.traits.ends_locks_of_dropped && dropped && record != nullptr)
      (void)release_record(*record);
  }
  return sight;
}

StoredRow ReferenceModel::as_read_outside(const RowName& name, const StoredRow& stored) const {
  const Transaction* holder = world_.database.holder(name, nullptr);
  StoredRow row = stored;
  if (!world_.traits.locks_bind_everybody || holder == nullptr) return row;
  row.columns["SoftLock"] = std::string(kStamp);
  row.version = holder->unsettled_version;
  return row;
}

Sight ReferenceModel::look() const {
  Sight sight;
  sight.emplace_back("questions", std::to_string(world_.answers.size()));
  for (std::size_t i = 0; i < world_.processes.size(); ++i) {
    const Process& process = *world_.processes[i];
    const std::string name = "process " + std::to_string(i) + " ";
    if (process.servers[0] || process.servers[1]) {
      sight.emplace_back(name + "LastErrorMsg", process.message);
      sight.emplace_back(name + "LastErrorNumber", std::to_string(process.number));
    }
    sight.emplace_back(name + "cause", std::to_string(process.cause.kind) + " " +
                                           std::to_string(process.cause.number) +
                                           (process.cause.outcome_unknown ? " unknown" : ""));
    for (std::size_t place = 0; place < process.places.size(); ++place) {
      if (process.places[place] == nullptr) continue;
      describe(name + "place " + std::to_string(place) + " ", *process.places[place], sight);
    }
  }
  static constexpr std::array<const char*, kKinds> kTables{"DW_SEC_COMP", "DW_SEC_PC",
                                                           "DW_Reports"};
  static constexpr std::array<const char*, kKinds> kMore{"SoftLock", nullptr, "Report_Binary"};
  for (const Kind kind : {kComponents, kPcs, kReports}) {
    int count = 0;
    for (const auto& [key, stored] : world_.database.tables[kind]) {
      const StoredRow row = as_read_outside({kind, key}, stored);
      const std::string name = std::string(kTables[kind]) + " " + std::to_string(++count) + " ";
      std::vector<std::string> columns;
      for (const Property& property : properties_of(kind)) columns.emplace_back(property.column);
      if (kMore[kind] != nullptr) columns.emplace_back(kMore[kind]);
      for (const std::string& column : columns) {
        const auto found = row.columns.find(column);
        std::string text = found == row.columns.end() ? "NULL" : printed(found->second);
        if (column == "RowVersion") text = row.version;
        if (column.ends_with("_Binary") && text != "NULL") text = in_hex(text);
        sight.emplace_back(name + column, text);
      }
    }
  }
  for (const auto& [name, bytes] : world_.files) sight.emplace_back("file " + name, in_hex(bytes));
  return sight;
}

}  // namespace tarnwick::model
