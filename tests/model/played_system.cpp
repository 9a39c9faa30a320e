#include "tests/model/played_system.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>

#include "runtime/text.h"
#include "tests/model/client_values.h"
#include "tests/support/plain_sqlite.h"

namespace tarnwick::model {
namespace {

using automation::ClassId;
using client::Object;
using client::Transport;
using client::Value;

constexpr std::array<ClassId, kKinds> kRecordClasses{ClassId::kComponent, ClassId::kRegisteredPC,
                                                     ClassId::kReport};
constexpr std::array<ClassId, kKinds> kCollectionClasses{
    ClassId::kComponents, ClassId::kRegisteredPCs, ClassId::kReports};

Kind kind_of(ClassId record_class) {
  return static_cast<Kind>(std::find(kRecordClasses.begin(), kRecordClasses.end(), record_class) -
                           kRecordClasses.begin());
}

std::string printed_date(Date date) {
  char digits[64];
  std::snprintf(digits, sizeof digits, "%.6f", date.days);
  return digits;
}

template <class Variant>
std::string printed_value(const Variant& value) {
  return std::visit(
      []<class T>(const T& held) -> std::string {
        if constexpr (std::same_as<T, bool>) {
          return held ? "True" : "False";
        } else if constexpr (std::same_as<T, Text>) {
          return to_utf8(held);
        } else if constexpr (std::same_as<T, Date>) {
          return printed_date(held);
        } else if constexpr (std::same_as<T, Object>) {
          return held ? "object" : "nothing";
        } else if constexpr (std::integral<T> || std::is_enum_v<T>) {
          return std::to_string(static_cast<std::int64_t>(held));
        } else {
          return "(other)";
        }
      },
      value);
}

Sight told(std::string result) { return {{"result", std::move(result)}}; }

const client::Member& member_of(const Object& object, std::string_view name) {
  const auto* member = automation::find_member(automation::class_of(object.class_id), name);
  if (member == nullptr) throw std::logic_error("no member " + std::string(name));
  return *member;
}

Value call(Transport& transport, const Object& object, std::string_view name,
           const std::vector<Value>& arguments = {}) {
  const client::Member& member = member_of(object, name);
  return transport.call(object, member, automation::with_defaults(member, arguments));
}

std::string printed_call(Transport& transport, const Object& object, std::string_view name,
                         const std::vector<Value>& arguments = {}) {
  return printed_value(call(transport, object, name, arguments));
}

void describe(const std::string& name, const client::Row& row, Sight& sight) {
  for (const Property& property : properties_of(kind_of(row.record_class()))) {
    const auto* attribute = client::find_attribute(row.record_class(), property.name);
    if (attribute == nullptr) throw std::logic_error("no attribute");
    sight.emplace_back(name + property.name, printed_value(row[*attribute]));
  }
}

void describe(Transport& transport, const std::string& name, const Object& record, Sight& sight) {
  for (const char* member : {"Key", "Changed", "Locked", "Initialized"}) {
    sight.emplace_back(name + member, printed_call(transport, record, member));
  }
  describe(name, transport.read(record), sight);
}

Sight described(const std::vector<client::Row>& rows) {
  Sight sight = told(std::to_string(rows.size()));
  for (std::size_t i = 0; i < rows.size(); ++i) {
    describe(std::to_string(i + 1) + ".", rows[i], sight);
  }
  return sight;
}

Sight described(Transport& transport, const std::vector<Object>& records) {
  Sight sight = told(std::to_string(records.size()));
  for (std::size_t i = 0; i < records.size(); ++i) {
    describe(transport, std::to_string(i + 1) + ".", records[i], sight);
  }
  return sight;
}

}  // namespace

platform::Answer AnsweringBox::retry_or_cancel(TextView text, TextView title, std::uint32_t) {
  ++asked;
  if (text != u"Record is currently being updated by another process!" ||
      title != u"Record Lock Encountered") {
    asked += 100;
  }
  if (answers.empty()) return platform::Answer::kCancel;
  const Answer answer = answers.front();
  answers.pop_front();
  if (answer.released) give_back(answer.released->first, answer.released->second);
  if (answer.killed) kill(*answer.killed);
  return answer.retry ? platform::Answer::kRetry : platform::Answer::kCancel;
}

PlayedSystem::PlayedSystem(const Stage& stage) : stage_(stage) {
  for (const File& file : kFiles) {
    if (file.bytes != nullptr) payloads_.write(file.name, file.bytes);
  }
  for (int i = 0; i < kProcesses; ++i) {
    Side& side = sides_.emplace_back();
    side.number = i;
    start(side);
  }
}

Traits PlayedSystem::traits() const {
  Traits traits{.database = database_->traits(), .processes = {}};
  for (const Side& side : sides_) {
    traits.processes[static_cast<std::size_t>(side.number)] = side.process->traits();
  }
  return traits;
}

bool PlayedSystem::can(const Step& step) const {
  const Side& side = sides_[static_cast<std::size_t>(step.process % kProcesses)];
  const ProcessTraits traits = side.process->traits();
  switch (step.op) {
    case Op::kSpoilRow:
      return database_->traits().takes_any_value;
    case Op::kRefuseCommit:
      return traits.can_refuse_commits;
    case Op::kCutConnection:
      return traits.can_be_cut;
    case Op::kKillProcess:
      return traits.can_be_killed;
    default:
      return true;
  }
}

void PlayedSystem::start(Side& side) {
  side.process = stage_.make_process(side.number);
  side.process->box.give_back = [this](int process, int place) {
    Side& holder = sides_[static_cast<std::size_t>(process)];
    (void)call(holder.process->transport(), holder.places[static_cast<std::size_t>(place)],
               "ReleaseRecord");
  };
  side.process->box.kill = [this](int process) { kill(sides_[static_cast<std::size_t>(process)]); };
}

void PlayedSystem::kill(Side& side) {
  side.process->kill();
  side.servers = {};
  side.places = {};
  start(side);
}

std::string PlayedSystem::path_of(const std::string& file) const {
  return file.empty() ? file : (payloads_.path() / file).string();
}

Object PlayedSystem::collection_of(Side& side, int kind) const {
  static constexpr std::array<const char*, kKinds> kGetters{"Components", "RegisteredPCs",
                                                            "Reports"};
  for (const Object& server : side.servers) {
    if (server) {
      return std::get<Object>(call(side.process->transport(), server,
                                   kGetters[static_cast<std::size_t>(kind % kKinds)]));
    }
  }
  return {};
}

Sight PlayedSystem::of_server(Side& side, const Step& step) {
  Transport& transport = side.process->transport();
  Object& server = side.servers[static_cast<std::size_t>(step.place % kServers)];
  if (step.op == Op::kNewServer) {
    if (!server) server = transport.create(automation::class_of(ClassId::kServer));
    return {};
  }
  if (!server) return {};
  switch (step.op) {
    case Op::kDropServer:
      server = {};
      return {};
    case Op::kConnect:
      return told(printed_call(transport, server, "SetConnection", database_->login()));
    case Op::kConnectToNothing: {
      std::vector<Value> login = database_->login();
      login.front() = database_->string_of_no_database();
      return told(printed_call(transport, server, "SetConnection", login));
    }
    case Op::kReload:
      return told(printed_call(transport, server, "Refresh"));
    default:
      return told(printed_call(transport, server, "Initialized"));
  }
}

Sight PlayedSystem::of_collection(Side& side, const Step& step) {
  Transport& transport = side.process->transport();
  const Object collection = collection_of(side, step.kind);
  if (!collection) return {};
  const auto kind = static_cast<Kind>(step.kind % kKinds);
  Object& place = side.places[static_cast<std::size_t>(step.place % kPlaces)];
  const auto take = [&](const Value& result) {
    const Object& found = std::get<Object>(result);
    const Sight sight = told(printed_value(result));
    if (found) place = found;
    return sight;
  };
  switch (step.op) {
    case Op::kReloadCollection:
      return told(printed_call(transport, collection, "Refresh"));
    case Op::kReplaceStore:
      (void)transport.create(automation::class_of(kCollectionClasses[kind]));
      return {};
    case Op::kAskCollection: {
      Sight sight;
      for (const char* name : {"Count", "Changed", "Initialized"}) {
        try {
          sight.emplace_back(name, printed_call(transport, collection, name));
        } catch (const client::CallError& error) {
          sight.emplace_back(name, "error " + std::to_string(error.number()));
        }
      }
      return sight;
    }
    case Op::kList:
      return described(transport,
                       transport.call_for_all(collection, member_of(collection, "NewEnum"), {}));
    case Op::kRows:
      return described(transport.rows(collection));
    case Op::kFindPcs: {
      std::string found;
      for (const PcKey& key : transport.find_pcs(text_of(name_to_find(step)))) {
        found += pc_key(to_utf8(key.mac_number), to_utf8(key.computer_id), key.comp_id) + "; ";
      }
      return told(std::move(found));
    }
    case Op::kReportFiles: {
      std::string found;
      for (const StoredReportFile& file : transport.stored_report_files()) {
        found += to_utf8(file.report) + " " + std::to_string(file.length) + "; ";
      }
      return told(std::move(found));
    }
    case Op::kExists:
      return told(
          printed_call(transport, collection, "Exists", {text_of(key_text(kind, step.key))}));
    case Op::kAdd:
      return take(call(transport, collection, "Add", arguments_of_add(step, kind)));
    case Op::kItemByKey:
      return take(call(transport, collection, "Item", {text_of(key_text(kind, step.key))}));
    case Op::kItemByPosition:
      return take(call(transport, collection, "Item", {std::int32_t{step.key % 4}}));
    default: {  // kFindMetaId
      const Object components = collection_of(side, kComponents);
      return described(transport,
                       transport.call_for_all(components, member_of(components, "FindMetaID"),
                                              {text_of(chosen(kMetaIds, step.key))}));
    }
  }
}

Sight PlayedSystem::of_record(Side& side, const Step& step) {
  Transport& transport = side.process->transport();
  Object& place = side.places[static_cast<std::size_t>(step.place % kPlaces)];
  if (step.op == Op::kNewRecord) {
    place = transport.create(
        automation::class_of(kRecordClasses[static_cast<std::size_t>(step.kind % kKinds)]));
    return {};
  }
  const Object record = place;
  if (!record) return {};
  const Kind kind = kind_of(record.class_id);
  const Text file = text_of(path_of(chosen(kFiles, step.key).name));
  switch (step.op) {
    case Op::kDropRecord:
      place = {};
      return {};
    case Op::kAddObject: {
      static constexpr std::array<const char*, kKinds> kAdders{"AddCompObject", "AddPCObject",
                                                               "AddReportObject"};
      const Object collection = collection_of(side, kind);
      if (!collection) return {};
      return told(printed_call(transport, collection, kAdders[kind], {record}));
    }
    case Op::kLock:
      return told(printed_call(transport, record, "LockRecord"));
    case Op::kRelease:
      return told(printed_call(transport, record, "ReleaseRecord"));
    case Op::kUpdate:
      return told(printed_call(transport, record, "Update",
                               kind == kReports ? std::vector<Value>{file} : std::vector<Value>{}));
    case Op::kInsert:
      return told(std::to_string(transport.insert(record, kind == kReports ? file : Text())));
    case Op::kLook: {
      const Look look = transport.look(record);
      return {{"outcome", std::to_string(static_cast<int>(look.outcome))},
              {"held", look.held ? "True" : "False"},
              {"held.SoftLock", to_utf8(look.stamp)}};
    }
    case Op::kDelete:
      return told(printed_call(transport, record, "Delete"));
    case Op::kRefreshRecord:
      return told(printed_call(transport, record, "Refresh"));
    default:
      break;
  }
  if (kind == kComponents) {
    if (step.op != Op::kPcsOf) return {};
    return described(transport, transport.call_for_all(record, member_of(record, "PCs"), {}));
  }
  if (step.op == Op::kLet) {
    const Setting& setting =
        kind == kPcs ? chosen(kPcSettings, step.key) : chosen(kReportSettings, step.key);
    const client::Member& member = member_of(record, setting.property);
    transport.let(record, member, value_to_let(member, setting, step.value));
    return {};
  }
  if (kind != kReports) return {};
  if (step.op == Op::kImportTtx) return told(printed_call(transport, record, "ImportTTX", {file}));
  if (step.op == Op::kExtractTtx) {
    return told(printed_call(transport, record, "ExtractTTX", {file}));
  }
  if (step.op == Op::kExtractReport) {
    return told(printed_call(transport, record, "ExtractReport", {file}));
  }
  return {};
}

Sight PlayedSystem::play(const Step& step, const std::vector<Answer>& answers) {
  Side& side = sides_[static_cast<std::size_t>(step.process % kProcesses)];
  for (Side& each : sides_) each.process->box.asked = 0;
  side.process->box.answers.assign(answers.begin(), answers.end());
  return settled(carry_out(side, step));
}

Sight PlayedSystem::carry_out(Side& side, const Step& step) {
  try {
    if (step.op == Op::kRefuseCommit) {
      side.process->refuse_next_commit();
      return {};
    }
    if (step.op == Op::kCutConnection) {
      side.process->cut_connections();
      return {};
    }
    if (step.op == Op::kKillProcess) {
      kill(side);
      return {};
    }
    if (step.op >= Op::kInsertRow) {
      database_->write(step);
      return {};
    }
    if (step.op <= Op::kAskServer) return of_server(side, step);
    if (step.op <= Op::kFindMetaId) return of_collection(side, step);
    return of_record(side, step);
  } catch (const client::CallError& error) {
    return told("error " + std::to_string(error.number()));
  }
}

Sight PlayedSystem::settled(Sight sight) const {
  const auto has_own_time = [](const Side& side) { return side.process->has_own_time(); };
  if (std::none_of(sides_.begin(), sides_.end(), has_own_time)) return sight;
  for (auto& [name, value] : sight) {
    if (name.ends_with("SoftLock") && value.find(" - ") != std::string::npos) value = kStamp;
    // No date of the vocabulary is as late.
    if (name.ends_with("Created") && std::strtod(value.c_str(), nullptr) > kNow) {
      value = printed_date(Date{kNow});
    }
  }
  return sight;
}

Sight PlayedSystem::look() {
  Sight sight;
  int asked = 0;
  for (const Side& side : sides_) asked += side.process->box.asked;
  sight.emplace_back("questions", std::to_string(asked));
  for (std::size_t i = 0; i < sides_.size(); ++i) {
    Side& side = sides_[i];
    Transport& transport = side.process->transport();
    const std::string name = "process " + std::to_string(i) + " ";
    for (const Object& server : side.servers) {
      if (!server) continue;
      for (const char* member : {"LastErrorMsg", "LastErrorNumber"}) {
        sight.emplace_back(name + member, printed_call(transport, server, member));
      }
      break;
    }
    const FailureCause cause = transport.last_cause();
    sight.emplace_back(name + "cause", std::to_string(static_cast<int>(cause.kind)) + " " +
                                           std::to_string(cause.number) +
                                           (cause.outcome_unknown ? " unknown" : ""));
    for (std::size_t place = 0; place < side.places.size(); ++place) {
      if (!side.places[place]) continue;
      describe(transport, name + "place " + std::to_string(place) + " ", side.places[place], sight);
    }
  }
  database_->add_stored_rows(sight);
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(payloads_.path())) {
    std::ifstream stream(entry.path(), std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(stream), {});
    files[entry.path().filename().string()] = test_support::hexadecimal(bytes);
  }
  for (const auto& [name, bytes] : files) sight.emplace_back("file " + name, bytes);
  return settled(std::move(sight));
}

}  // namespace tarnwick::model
