// How records of the reference model are locked, written, deleted and looked at.

#include "tests/model/reference_model.h"

namespace tarnwick::model {
namespace {

enum class Existing { kWritten, kRefused };
enum class Outcome { kFailed, kFound, kMissing, kCancelled };

constexpr std::array<const char*, kKinds> kClasses{"Component", "RegisteredPC", "Report"};

void require_open(const Connection& connection) {
  if (!connection.open) fail(3704, "Operation is not allowed when the object is closed.");
}

std::string statement_of(const Record& record) {
  switch (record.kind) {
    case kComponents:
      return "Select * From DW_SEC_COMP Where CompID = " + std::to_string(record.number("CompID"));
    case kPcs:
      return "Select * From DW_SEC_PC Where MACNbr = '" + record.text("MACNumber") +
             "' And ComputerID = '" + record.text("ComputerID") +
             "' And CompID = " + std::to_string(record.number("CompID"));
    case kReports:
      break;
  }
  return "Select * From DW_Reports Where ReportName = '" + record.text("Name") + "'";
}

// What names the row in statements and messages.
std::string id_of(const Record& record) {
  return record.kind == kComponents ? std::to_string(record.number("CompID")) : record.key();
}

// The key of a stored row, as that of a record.
std::string key_of(Kind kind, const StoredRow& row) {
  const auto column = [&](const char* name) { return printed(row.columns.at(name)); };
  if (kind == kComponents) return "C" + column("CompID");
  if (kind == kReports) return column("ReportName");
  return column("MACNbr") + "\u00FE" + column("ComputerID") + "\u00FE" + column("CompID");
}

// UpdateRead. Leaves its transaction to the record, which has to end it or count as locked.
Outcome fetch(Record& record, std::optional<StoredRow>& row) {
  Process& process = record.process;
  Database& database = process.world.database;
  Outcome outcome = Outcome::kFailed;
  record.marked_locked = false;
  record.fetched.reset();
  guarded(process, "General", "UpdateRead", [&] {
    process.message.clear();
    const RowName name = record.row();
    for (;;) {
      Connection& connection = process.require_connection();
      require_open(connection);
      if (connection.transaction) {
        fail(-2147168237, "Only one transaction can be active on this session.");
      }
      require_database(connection);
      if (id_of(record).find('\'') != std::string::npos) {
        // Names stand in statements as they are. What does not open is taken for a locked row.
        (void)ask(process, nullptr);
        note(process, {kRefused, -2147217900});
        raise(process, "Error Opening Recordset! SQL=" + statement_of(record));
      }
      const StoredRow* stored = database.find(name);
      if (stored == nullptr) {
        connection.transaction.emplace().owner = &record;
        process.message =
            "No Record found for ID: " + id_of(record) + " SQL=" + statement_of(record);
        outcome = Outcome::kMissing;
        break;
      }
      if (const Transaction* holder = database.holder(name, &connection)) {
        if (ask(process, holder)) continue;
        note(process, {kLockTimeout, -2147467259});
        outcome = Outcome::kCancelled;
        break;
      }
      Transaction& transaction = connection.transaction.emplace();
      transaction.owner = &record;
      transaction.stamped = name;
      transaction.stamped_version = stored->version;
      transaction.stamped_key = key_of(record.kind, *stored);
      transaction.unsettled_version = "u" + database.next_version();
      row = *stored;
      row->columns["SoftLock"] = std::string(kStamp);
      outcome = Outcome::kFound;
      break;
    }
    record.fetched.emplace().connection = process.connection;
  });
  return outcome;
}

// A statement that deletes one row, alone or as a part of the connection's transaction: the one
// that is spelt as `key` is.
void execute_delete(Process& process, const RowName& name, const std::string& key) {
  Connection& connection = process.require_connection();
  require_open(connection);
  if (connection.cut && !connection.transaction) {
    note(process, {kConnectionLost, -2147467259, true});
  }
  require_database(connection);
  require_no_quote(key);
  Database& database = process.world.database;
  require_own_row(database, connection);
  const StoredRow* row = database.find(name);
  if (row == nullptr) return;
  if (!process.world.traits.folds_all_letters && lower(key_of(name.first, *row)) != lower(key)) {
    return;
  }
  if (database.holder(name, &connection) != nullptr) {
    throw Failure{-2147467259, "Lock request time out period exceeded.", kLockTimeout};
  }
  if (connection.transaction) {
    connection.transaction->deleted.insert(name);
  } else {
    database.tables[name.first].erase(name.second);
  }
}

// Assigns what the columns of the row become. Texts that cannot be stored are refused.
void assign_columns(Record& record, const std::string& file) {
  Process& process = record.process;
  std::map<std::string, Datum>& columns = record.fetched->assigned;
  for (const char* name : written_of(record.kind)) {
    const std::string property = name;
    Datum& value = record.values[property];
    const bool no_date = value == Datum(0.0);
    if (property == "ImageIndex" && record.kind != kReports && value == Datum(std::int64_t{0})) {
      value = std::int64_t{record.kind == kComponents ? 1 : 10};
    }
    if (record.kind == kPcs && no_date) continue;
    if (property == "Created" && no_date) value = kNow;
    if (property == "Version" && value == Datum(std::string())) value = std::string("1.0.0");
    const char* column = property_of(record.kind, property).column;
    if (property == "TTX") {
      const std::string& ttx = std::get<std::string>(value);
      if (ttx.empty()) continue;
      try {
        columns[column] = to_latin1(ttx);
      } catch (int) {
        throw Failure{kUnstorableNumber, std::string(1, kAnyText)};
      }
    } else if (property == "ReportType") {
      columns[column] = std::string(value == Datum(std::int64_t{1}) ? "CRY" : "");
    } else if (property == "ReportCode") {
      static constexpr std::array<const char*, 4> kCodes{"", "PC", "PCA", "CRY"};
      columns[column] =
          std::string(kCodes[static_cast<std::size_t>(std::get<std::int64_t>(value))]);
    } else if (const auto* truth = std::get_if<bool>(&value)) {
      columns[column] = std::int64_t{*truth ? 1 : 0};
    } else {
      columns[column] = value;
    }
  }
  if (!file.empty()) columns["Report_Binary"] = process.world.files.at(file);
}

// UpdateWrite up to the commit: what keeps the row from being written.
void require_writable(const Record& record, const Transaction& transaction) {
  const Database& database = record.process.world.database;
  const auto stands = [&](const RowName& name) {
    return database.find(name) != nullptr && !transaction.deleted.contains(name);
  };
  if (transaction.stamped) {
    // That another program did not care for the lock is found out by the commit, but where more is
    // written than other columns of one row, which is tried out at once.
    const bool tried = !transaction.deleted.empty() || transaction.stamped_key != record.key();
    if (transaction.deleted.contains(*transaction.stamped) ||
        (tried && !is_as_fetched(database, transaction))) {
      fail(-2147217864,
           "Row cannot be located for updating. Some values may have been changed since it was "
           "last read.");
    }
    if (*transaction.stamped == record.row()) return;
  }
  if (stands(record.row())) {
    throw Failure{-2147217873, std::string(1, kAnyText)};
  }
  // Another program deleted a row that is held, and the lock outlives it.
  if (database.holder(record.row(), record.fetched->connection.get()) != nullptr) {
    throw Failure{-2147467259, "Lock request time out period exceeded.", kLockTimeout};
  }
}

void commit(Record& record, Transaction transaction, const std::map<std::string, Datum>& columns) {
  Database& database = record.process.world.database;
  for (const RowName& name : transaction.deleted) database.tables[name.first].erase(name.second);
  StoredRow row;
  if (transaction.stamped) {
    Table& table = database.tables[record.kind];
    row = table.at(transaction.stamped->second);
    table.erase(transaction.stamped->second);
  }
  for (const auto& [column, value] : columns) row.columns[column] = value;
  row.columns["SoftLock"] = std::string();
  row.version = database.next_version();
  database.tables[record.kind][record.row().second] = std::move(row);
}

// The update protocol, up to the commit.
void write_row(Record& record, const std::string& opening, const std::string& refused,
               const std::string& file, Existing existing, int& result) {
  Process& process = record.process;
  bool found = false;
  if (record.holds_row()) {
    found = !record.fetched->adds;
  } else {
    std::optional<StoredRow> row;
    switch (fetch(record, row)) {
      case Outcome::kCancelled:
        raise(process, "Record is currently being updated by another process!");
      case Outcome::kFailed:
        fail(91, "Object variable or With block variable not set");
      case Outcome::kMissing:
        record.fetched->adds = true;
        break;
      case Outcome::kFound:
        found = true;
        break;
    }
    record.marked_locked = true;
  }
  if (found && existing == Existing::kRefused) {
    result = 5;
    raise(process, opening + id_of(record) + "' is already on file. Unable to add!", kChanged);
  }
  Connection& connection = *record.fetched->connection;
  const std::string& version = record.text("RowVersion");
  if (found && !version.empty() && version != connection.transaction->stamped_version) {
    result = 5;
    raise(process,
          opening + id_of(record) + "' has changed since it was originally read! Unable to update!",
          kChanged);
  }
  assign_columns(record, file);
  bool written = false;
  guarded(process, "General", "UpdateWrite", [&] {
    require_database(connection);
    require_writable(record, *connection.transaction);
    written = true;
  });
  if (written) {
    // The commit.
    const Transaction transaction = std::move(*connection.transaction);
    connection.transaction.reset();
    const bool full = std::exchange(process.refuses_next_commit, false);
    if (!full && is_as_fetched(process.world.database, transaction)) {
      commit(record, transaction, record.fetched->assigned);
      if (!found) note(process, {kOther, 3021});
      return;
    }
    note(process, full ? Cause{kDiskFull, -2147467259} : Cause{kChanged, -2147217864});
    process.message = "Unable to update, record is locked!";
  }
  process.message += "\r\n" + refused;
  raise(process, process.message);
}

void update_component(Record& record, Existing existing, int& result) {
  Process& process = record.process;
  process.message.clear();
  const std::int64_t id = record.number("CompID");
  if (id < 0) {
    result = 2;
    raise(process, "No ComponentID provided for updating the component!");
  }
  write_row(record, "The data for component '",
            "Unable to update the Component '" + std::to_string(id) + "' in the DW_Sec_Comp table!",
            {}, existing, result);
  if (record.first_id != id) {
    execute_delete(process, row_of_component(record.first_id),
                   "C" + std::to_string(record.first_id));
  }
}

void update_pc(Record& record, Existing existing, int& result) {
  Process& process = record.process;
  process.message.clear();
  if (record.text("MACNumber").empty() || record.text("ComputerID").empty() ||
      record.number("CompID") < 0) {
    result = 2;
    raise(process, "No MAC Number, ComputerID or ComponentID provided for updating the PC!");
  }
  write_row(record, "The data for '",
            "Unable to update the PC '" + record.key() + "' in the DW_Sec_PC table!", {}, existing,
            result);
  const std::string first = pc_key(record.first_mac, record.first_computer, record.first_id);
  if (folded(first) != folded(record.key())) {
    execute_delete(process, row_of_pc(record.first_mac, record.first_computer, record.first_id),
                   first);
  }
}

void update_report(Record& record, const std::string& file, Existing existing, int& result) {
  Process& process = record.process;
  process.message.clear();
  const std::string name = record.text("Name");
  if (name.empty()) {
    result = 2;
    raise(process, "No Report Name provided for updating the report!");
  }
  if (!file.empty() && !process.world.files.contains(file)) {
    result = 3;
    raise(process, "Unable to read '" + path_of(file) + "' from disk. Unable to update!");
  }
  process.cached.reset();
  write_row(record, "The data for '",
            "Unable to update the report '" + name + "' in the DW_Reports table!", file, existing,
            result);
  if (folded(name) != folded(record.first_name) && !record.first_name.empty()) {
    execute_delete(process, row_of_report(record.first_name), record.first_name);
  }
}

}  // namespace

bool lock_record(Record& record) {
  bool result = false;
  guarded(record.process, kClasses[record.kind], "LockRecord", [&] {
    if (record.locked()) {
      result = true;
      return;
    }
    std::optional<StoredRow> row;
    if (fetch(record, row) == Outcome::kFailed) return;
    result = load(record, row ? &*row : nullptr);
    if (!result) end_transaction(record);
    record.marked_locked = result;
  });
  return result;
}

bool release_record(Record& record) {
  const bool unlocked = record.kind != kReports;  // what it answers where nothing is given back
  if (!record.locked()) return unlocked;
  const bool cut = record.holds_row() && record.fetched->connection->cut;
  if (cut) note(record.process, {kConnectionLost, -2147467259});
  record.marked_locked = false;
  end_transaction(record);
  return cut ? unlocked : true;
}

namespace {

int write(Record& record, const char* procedure, const std::string& file, Existing existing) {
  int result = 1;
  guarded(record.process, kClasses[record.kind], procedure, [&] {
    if (record.kind == kComponents) update_component(record, existing, result);
    if (record.kind == kPcs) update_pc(record, existing, result);
    if (record.kind == kReports) update_report(record, file, existing, result);
    record.fetched.reset();
    record.marked_locked = false;
    record.changed = false;
    result = 0;
  });
  return result;
}

}  // namespace

int update(Record& record, const std::string& file) {
  return write(record, "Update", file, Existing::kWritten);
}

int insert(Record& record, const std::string& file) {
  return write(record, "Insert", file, Existing::kRefused);
}

Sight look_at(Record& record) {
  Process& process = record.process;
  int outcome = 3;
  bool held = false;
  std::string stamp;
  guarded(process, kClasses[record.kind], "Look", [&] {
    (void)process.require_connection();
    require_open_for_reading(process);
    require_no_quote(id_of(record));
    require_own_row(process.world.database, *process.connection);
    const RowName name = record.row();
    const auto row = as_seen(process.world.database, *process.connection, name);
    if (process.world.traits.locks_bind_everybody &&
        process.world.database.holder(name, process.connection.get()) != nullptr) {
      outcome = 2;  // what was committed is not to be had
    } else if (!row) {
      outcome = 0;
    } else if (load(record, &*row)) {
      outcome = 1;
    }
    if (const Transaction* holder = process.world.database.holder(record.row(), nullptr)) {
      held = true;
      if (holder->stamped == record.row()) stamp = kStamp;
    }
  });
  return {{"outcome", std::to_string(outcome)},
          {"held", held ? "True" : "False"},
          {"held.SoftLock", stamp}};
}

namespace {

bool deleted(Record& record) {
  Process& process = record.process;
  try {
    if (record.kind == kReports) process.cached.reset();
    execute_delete(process, record.row(),
                   record.kind == kComponents ? "C" + id_of(record) : record.key());
    Store& store = process.require_store(record.kind);
    if (record.kind != kComponents) {
      store.remove(record.key());
      return true;
    }
    // The number counts as a position.
    const std::int64_t position = record.number("CompID");
    if (position < 1 || position > static_cast<std::int64_t>(store.entries.size())) {
      fail(9, "Subscript out of range");
    }
    const RecordPtr gone = store.entries[static_cast<std::size_t>(position - 1)].second;
    store.entries.erase(store.entries.begin() + (position - 1));
    return true;
  } catch (const Failure& failure) {
    note(process, cause_of(failure));
    return false;
  }
}

}  // namespace

bool delete_record(Record& record) {
  Process& process = record.process;
  if (record.kind == kPcs && (record.text("MACNumber").empty() ||
                              record.text("ComputerID").empty() || record.number("CompID") < 0)) {
    return true;
  }
  if (record.kind == kReports && record.text("Name").empty()) return true;
  bool result = false;
  in_call(process, [&] {
    if (record.locked()) (void)release_record(record);
    result = deleted(record);
  });
  return result;
}

bool refresh_record(Record& record) {
  bool result = false;
  guarded(record.process, kClasses[record.kind], "Refresh", [&] {
    if (record.kind != kPcs) {
      read_with_syntax_error(record.process);
      return;
    }
    const auto rows = read_table(record.process, kPcs);
    if (!rows) return;
    if (rows->empty()) {
      fail(3021,
           "Either BOF or EOF is True, or the current record has been deleted. Requested operation "
           "requires a current record.");
    }
    result = load(record, &rows->front());
  });
  return result;
}

}  // namespace tarnwick::model
