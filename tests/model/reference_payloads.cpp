// The payloads of the reference model's reports.

#include "tests/model/reference_model.h"

namespace tarnwick::model {

namespace {

void require_folder_of(Process& process, const std::string& file) {
  const auto slash = file.find('/');
  if (slash == std::string::npos) return;
  raise(process, "The Path '" + path_of(file.substr(0, slash)) + "' doesn't exist!");
}

}  // namespace

bool import_ttx(Record& record, const std::string& file) {
  Process& process = record.process;
  bool result = false;
  guarded(process, "Report", "ImportTTX", [&] {
    process.message.clear();
    if (file.empty()) return;
    if (!process.world.files.contains(file)) {
      raise(process, "The File '" + path_of(file) + "' doesn't exist!");
    }
    record.values["TTX"] = from_latin1(process.world.files.at(file));
    result = true;
  });
  return result;
}

bool extract_ttx(Record& record, const std::string& file) {
  Process& process = record.process;
  bool result = false;
  guarded(process, "Report", "ExtractTTX", [&] {
    process.message.clear();
    if (record.text("TTX").empty()) raise(process, "There is no TTX data to extract!");
    if (file.empty()) return;
    require_folder_of(process, file);
    try {
      process.world.files[file.substr(0, file.rfind('.')) + ".ttx"] = to_latin1(record.text("TTX"));
    } catch (int) {
      throw Failure{kUnstorableNumber, std::string(1, kAnyText)};
    }
    result = true;
  });
  return result;
}

bool extract_report(Record& record, const std::string& file) {
  Process& process = record.process;
  bool result = false;
  guarded(process, "Report", "ExtractReport", [&] {
    process.message.clear();
    const std::string& name = record.text("Name");
    if (name.empty()) raise(process, "There is no reportname to extract!");
    if (file.empty()) return;
    require_folder_of(process, file);
    bool found = process.cached && folded(process.cached->name) == folded(name);
    if (!found) {
      process.cached.reset();
      guarded(process, "General", "CheckReportRS", [&] {
        require_open_for_reading(process);
        require_no_quote(name);
        const Database& database = process.world.database;
        require_own_row(database, *process.connection);
        const RowName row = row_of_report(name);
        const StoredRow* stored = database.find(row);
        const auto& transaction = process.connection->transaction;
        if (stored == nullptr || (transaction && transaction->deleted.contains(row))) return;
        if (database.holder(row, process.connection.get()) != nullptr) {
          throw Failure{-2147467259, "Lock request time out period exceeded.", kLockTimeout};
        }
        const auto payload = stored->columns.find("Report_Binary");
        process.cached = {std::get<std::string>(stored->columns.at("ReportName")),
                          payload == stored->columns.end() ? Datum() : payload->second};
        found = true;
      });
    }
    if (!found) raise(process, "Unable to find the report '" + name + "' in the DW_REPORTS table!");
    const auto* bytes = std::get_if<std::string>(&process.cached->file);
    if (bytes == nullptr) {
      raise(process, "The Report_Binary field is null, no report is stored in the table!");
    }
    process.world.files[file] = *bytes;
    result = true;
  });
  return result;
}

}  // namespace tarnwick::model
