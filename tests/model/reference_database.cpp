// The tables of the reference model, how they are read, and the account of errors.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>

#include "tests/model/reference_model.h"

namespace tarnwick::model {
namespace {

using Type = Property::Type;

constexpr char kCrLf[] = "\r\n";

// Sorts as the number does.
std::string sortable(std::int64_t number) {
  char digits[24];
  std::snprintf(digits, sizeof digits, "%08lld", static_cast<long long>(number) + 1'000'000);
  return digits;
}

std::int64_t whole(const Datum& value, std::int64_t low, std::int64_t high) {
  if (std::holds_alternative<std::monostate>(value)) fail(94, "Invalid use of Null");
  const auto* number = std::get_if<std::int64_t>(&value);
  if (number == nullptr) fail(13, "Type mismatch");
  if (*number < low || *number > high) fail(6, "Overflow");
  return *number;
}

// What a column becomes in the property.
Datum converted(const Property& property, const Datum& value) {
  const bool null = std::holds_alternative<std::monostate>(value);
  switch (property.type) {
    case Type::kText:
    case Type::kMetaId:
      if (null && property.null_refused) fail(94, "Invalid use of Null");
      return null ? Datum(std::string()) : value;
    case Type::kShort:
      if (null && !property.null_refused) return property.null_number;
      return whole(value, -32768, 32767);
    case Type::kLong:
      if (null && !property.null_refused) return property.null_number;
      return whole(value, -2147483648LL, 2147483647LL);
    case Type::kBoolean:
      return whole(value, -2147483648LL, 2147483647LL) != 0;
    case Type::kDate:
      if (null) return 0.0;
      if (!std::holds_alternative<double>(value)) fail(13, "Type mismatch");
      return value;
    case Type::kReportCode: {
      const std::string code = null ? "" : lower(std::get<std::string>(value));
      return std::int64_t{code == "pc" ? 1 : code == "pca" ? 2 : code == "cry" ? 3 : 0};
    }
    case Type::kReportType:
      return std::int64_t{!null && lower(std::get<std::string>(value)) == "cry" ? 1 : 0};
    case Type::kTtx:
      return from_latin1(std::get<std::string>(value));
    case Type::kVersion:
      break;
  }
  throw std::logic_error("no such type");
}

constexpr std::array<const char*, kKinds> kLoaders{"RefreshComponent", "RefreshPC",
                                                   "RefreshReport"};

}  // namespace

const std::vector<Property>& properties_of(Kind kind) {
  static const std::array<std::vector<Property>, kKinds> kAll{{
      {{"CompID", "CompID", Type::kShort, true},
       {"Name", "CompName", Type::kText},
       {"ParentID", "ParentID", Type::kShort},
       {"Priority", "Priority", Type::kShort},
       {"ImageIndex", "ImageIndex", Type::kShort, false, 1},
       {"ForceDisplay", "ForceDisplay", Type::kBoolean, true},
       {"MaintenanceType", "MaintType", Type::kLong, true},
       {"SecurityGroup", "SecGrpID", Type::kText},
       {"ReportCode", "RptCode", Type::kReportCode},
       {"ServerName", "Server", Type::kText},
       {"RowVersion", "RowVersion", Type::kVersion},
       {"MetaID", "MetaID", Type::kMetaId},
       {"AuthorizedRole", "AuthorizedRole", Type::kText}},
      {{"MACNumber", "MACNbr", Type::kText, true},
       {"ComputerID", "ComputerID", Type::kText, true},
       {"CompID", "CompID", Type::kShort, true},
       {"MaintenanceType", "MaintType", Type::kLong, true},
       {"Active", "ActiveStatus", Type::kBoolean, true},
       {"ImageIndex", "ImageIndex", Type::kShort, true},
       {"LastUser", "LastUser", Type::kText},
       {"LastLogin", "LastLogin", Type::kDate},
       {"TotalLogins", "TotalLogins", Type::kLong},
       {"ActivatedBy", "ActivatedBy", Type::kText},
       {"ActivateDate", "ActivateDate", Type::kDate},
       {"DeActivatedBy", "DeactivatedBy", Type::kText},
       {"DeActivatedDate", "DeactivateDate", Type::kDate},
       {"SoftLock", "SoftLock", Type::kText},
       {"RowVersion", "RowVersion", Type::kVersion},
       {"SoftwareVersion", "SoftwareVersion", Type::kText}},
      {{"Name", "ReportName", Type::kText, true},
       {"Author", "Author", Type::kText},
       {"Created", "Created", Type::kDate},
       {"Description", "ReportDesc", Type::kText},
       {"ImageIndex", "ImageIndex", Type::kShort},
       {"MaintenanceType", "MaintType", Type::kLong},
       {"ReportGroupID", "RptGrpID", Type::kText},
       {"ReportType", "ReportType", Type::kReportType},
       {"SoftLock", "SoftLock", Type::kText},
       {"SQL", "SQLStmnt", Type::kText},
       {"Title", "Title", Type::kText},
       {"RowVersion", "RowVersion", Type::kVersion},
       {"Version", "Version", Type::kText},
       {"Definition", "Definition", Type::kText},
       {"TTX", "TTX_Binary", Type::kTtx}},
  }};
  return kAll[kind];
}

const std::vector<const char*>& written_of(Kind kind) {
  static const std::array<std::vector<const char*>, kKinds> kAll{{
      {"CompID", "Name", "ParentID", "Priority", "ImageIndex", "ForceDisplay", "MaintenanceType",
       "SecurityGroup", "ReportCode", "ServerName"},
      {"MACNumber", "ComputerID", "CompID", "MaintenanceType", "Active", "ImageIndex", "LastUser",
       "LastLogin", "TotalLogins", "ActivatedBy", "ActivateDate", "DeActivatedBy",
       "DeActivatedDate", "SoftwareVersion"},
      {"Name", "Title", "Author", "Created", "Version", "ReportGroupID", "ImageIndex", "SQL", "TTX",
       "ReportType", "Description", "MaintenanceType", "Definition"},
  }};
  return kAll[kind];
}

const Property& property_of(Kind kind, const std::string& name) {
  const auto& all = properties_of(kind);
  return *std::find_if(all.begin(), all.end(),
                       [&](const Property& one) { return one.name == name; });
}

std::string lower(std::string text) {
  for (char& letter : text) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  }
  return text;
}

std::string folded(const std::string& text) {
  std::string result = lower(text);
  const std::string capital = "Ü";
  for (auto at = result.find(capital); at != std::string::npos; at = result.find(capital)) {
    result.replace(at, capital.size(), "ü");
  }
  return result;
}

std::string name_to_find(const Step& step) {
  const PcName& name = chosen(kPcNames, step.key);
  return step.value % 2 == 0 ? name.mac : name.computer;
}

std::string printed(const Datum& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "True" : "False";
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* real = std::get_if<double>(&value)) {
    char digits[64];
    std::snprintf(digits, sizeof digits, "%.6f", *real);
    return digits;
  }
  return "NULL";
}

std::string pc_key(const std::string& mac, const std::string& computer, std::int64_t id) {
  return mac + "\u00FE" + computer + "\u00FE" + std::to_string(id);
}

RowName row_of_component(std::int64_t id) { return {kComponents, sortable(id)}; }
RowName row_of_pc(const std::string& mac, const std::string& computer, std::int64_t id) {
  return {kPcs, lower(mac) + '\x01' + lower(computer) + '\x01' + sortable(id)};
}
// A look-up by the whole key finds the row in any spelling, and its lock is that of all of them.
RowName row_of_report(const std::string& name) { return {kReports, folded(name)}; }

std::string to_latin1(const std::string& utf8) {
  std::string bytes;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto first = static_cast<unsigned char>(utf8[i]);
    if (first < 0x80) {
      bytes.push_back(utf8[i]);
    } else if (first == 0xC2 || first == 0xC3) {
      bytes.push_back(static_cast<char>((first & 3) << 6 | (utf8[++i] & 0x3F)));
    } else {
      throw 0;
    }
  }
  return bytes;
}

std::string from_latin1(const std::string& bytes) {
  std::string utf8;
  for (const char letter : bytes) {
    const auto byte = static_cast<unsigned char>(letter);
    if (byte < 0x80) {
      utf8.push_back(letter);
    } else {
      utf8.push_back(static_cast<char>(0xC0 | byte >> 6));
      utf8.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
  }
  return utf8;
}

const StoredRow* Database::find(const RowName& name) const {
  const Table& table = tables[name.first];
  const auto found = table.find(name.second);
  return found == table.end() ? nullptr : &found->second;
}

const Transaction* Database::holder(const RowName& name, const Connection* but) const {
  for (const auto& each : connections) {
    const ConnectionPtr connection = each.lock();
    if (connection == nullptr || connection.get() == but || connection->cut) continue;
    if (!connection->transaction) continue;
    const Transaction& transaction = *connection->transaction;
    if (transaction.stamped == name || transaction.deleted.contains(name)) return &transaction;
  }
  return nullptr;
}

Connection& Process::require_connection() const {
  if (connection == nullptr) fail(91, "Object variable or With block variable not set");
  return *connection;
}

Store& Process::require_store(Kind kind) const {
  if (stores[kind] == nullptr) fail(91, "Object variable or With block variable not set");
  return *stores[kind];
}

RecordPtr Store::find(const std::string& key) const {
  for (const auto& [name, record] : entries) {
    if (folded(name) == folded(key)) return record;
  }
  return nullptr;
}

void Store::add(const std::string& key, RecordPtr record) {
  if (find(key) != nullptr) {
    fail(457, "This key is already associated with an element of this collection");
  }
  entries.emplace_back(key, std::move(record));
}

void Store::remove(const std::string& key) {
  const auto found = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
    return folded(entry.first) == folded(key);
  });
  if (found == entries.end()) fail(5, "Invalid procedure call or argument");
  entries.erase(found);
}

void fail(std::int32_t number, const char* text) { throw Failure{number, text}; }

void raise(Process& process, const std::string& message, CauseKind kind) {
  process.message = message;
  throw Failure{-2147221504, message, kind};
}

Cause cause_of(const Failure& failure) {
  if (failure.kind != kNone) return {failure.kind, failure.number};
  switch (failure.number) {
    case -2147217864:
      return {kChanged, failure.number};
    case -2147221504:
    case -2147217900:
    case -2147217873:
      return {kRefused, failure.number};
    default:
      return {kOther, failure.number};
  }
}

void note(Process& process, const Cause& cause) {
  if (process.calls > 0 && std::exchange(process.has_noted, true)) return;
  process.cause = cause;
}

void in_call(Process& process, const std::function<void()>& body) {
  if (process.calls++ == 0) process.has_noted = false;
  try {
    body();
  } catch (...) {
    --process.calls;
    throw;
  }
  --process.calls;
}

void guarded(Process& process, const char* component, const char* procedure,
             const std::function<void()>& body, const std::function<std::string()>& extra) {
  in_call(process, [&] {
    try {
      body();
      return;
    } catch (const Failure& failure) {
      note(process, cause_of(failure));
      if (process.number == 0) process.number = failure.number;
      process.message += kCrLf + ("Error in Component: '" + std::string(component)) +
                         "', Proceedure: '" + procedure + "'." + kCrLf + (extra ? extra() : "") +
                         "Error #:    \t" + std::to_string(failure.number) + kCrLf +
                         "Description:\t" + failure.text;
    }
  });
}

void require_database(Connection& connection) {
  if (!connection.cut) return;
  connection.open = false;
  connection.transaction.reset();
  throw Failure{-2147467259, "The connection is cut.", kConnectionLost};
}

void require_open_for_reading(const Process& process) {
  if (!process.connected()) {
    fail(3709,
         "The connection cannot be used to perform this operation. It is either closed or invalid "
         "in this context.");
  }
  require_database(*process.connection);
}

bool is_as_fetched(const Database& database, const Transaction& transaction) {
  if (!transaction.stamped) return true;
  const StoredRow* row = database.find(*transaction.stamped);
  return row != nullptr && row->version == transaction.stamped_version;
}

void require_own_row(const Database& database, const Connection& connection) {
  if (connection.transaction && !is_as_fetched(database, *connection.transaction)) {
    fail(-2147217864,
         "Row cannot be located for updating. Some values may have been changed since it was last "
         "read.");
  }
}

std::optional<StoredRow> as_seen(const Database& database, const Connection& connection,
                                 const RowName& name) {
  const StoredRow* stored = database.find(name);
  if (stored == nullptr) return std::nullopt;
  StoredRow row = *stored;
  if (const auto& transaction = connection.transaction) {
    if (transaction->deleted.contains(name)) return std::nullopt;
    if (transaction->stamped == name) {
      row.columns["SoftLock"] = std::string(kStamp);
      row.version = transaction->unsettled_version;
    }
  }
  return row;
}

std::optional<std::vector<StoredRow>> read_table(Process& process, Kind kind) {
  std::optional<std::vector<StoredRow>> rows;
  guarded(process, "General", "GetRecordset", [&] {
    require_open_for_reading(process);
    require_own_row(process.world.database, *process.connection);
    std::vector<StoredRow> read;
    const Database& database = process.world.database;
    for (const auto& [key, row] : database.tables[kind]) {
      const RowName name{kind, key};
      if (database.holder(name, process.connection.get()) != nullptr) {
        throw Failure{-2147467259, "Lock request time out period exceeded.", kLockTimeout};
      }
      if (auto seen = as_seen(database, *process.connection, name)) read.push_back(*seen);
    }
    rows = std::move(read);
  });
  return rows;
}

std::vector<StoredRow> rows_as_they_stand(Process& process, Kind kind, const std::string& name) {
  require_open_for_reading(process);
  require_no_quote(name);
  require_own_row(process.world.database, *process.connection);
  std::vector<StoredRow> rows;
  const Database& database = process.world.database;
  for (const auto& [key, row] : database.tables[kind]) {
    if (auto seen = as_seen(database, *process.connection, {kind, key})) rows.push_back(*seen);
  }
  return rows;
}

void require_no_quote(const std::string& name) {
  if (name.find('\'') != std::string::npos) throw Failure{-2147217900, std::string(1, kAnyText)};
}

void read_with_syntax_error(Process& process) {
  guarded(process, "General", "GetRecordset", [&] {
    require_open_for_reading(process);
    throw Failure{-2147217900, std::string(1, kAnyText)};
  });
}

bool load(Record& record, const StoredRow* row) {
  bool loaded = false;
  guarded(record.process, "General", kLoaders[record.kind], [&] {
    if (row == nullptr) {
      fail(3021,
           "Either BOF or EOF is True, or the current record has been deleted. Requested operation "
           "requires a current record.");
    }
    for (const Property& property : properties_of(record.kind)) {
      if (property.type == Type::kVersion) {
        record.values["RowVersion"] = row->version;
        continue;
      }
      const auto column = row->columns.find(property.column);
      const Datum value = column == row->columns.end() ? Datum() : column->second;
      if (property.type == Type::kTtx && std::holds_alternative<std::monostate>(value)) continue;
      record.set(property.name, converted(property, value));
    }
    if (record.kind != kComponents) record.changed = false;
    loaded = true;
  });
  return loaded;
}

}  // namespace tarnwick::model
