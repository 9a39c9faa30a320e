#include "apps/tarnwick/files/export_folder.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <sstream>
#include <system_error>
#include <vector>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/files/json_records.h"
#include "apps/tarnwick/files/payload_names.h"
#include "apps/tarnwick/files/report_files.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/csv.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "platform/file_system.h"
#include "platform/process.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr std::string_view kReportDocument = "reports.json";

bool comes_first(const Row& a, const Row& b) {
  for (const Attribute& attribute : a.attributes()) {
    if (!attribute.key || a[attribute] == b[attribute]) continue;
    const Text* const text = std::get_if<Text>(&a[attribute]);
    return text != nullptr
               ? *text < std::get<Text>(b[attribute])
               : std::get<std::int16_t>(a[attribute]) < std::get<std::int16_t>(b[attribute]);
  }
  return false;
}

std::vector<Row> whole(Loaded loaded) {
  require_complete(loaded);
  if (loaded.gaps) throw Failure(ExitCode::kFailed, "Nothing was exported.");
  std::ranges::sort(loaded.rows, comes_first);
  return std::move(loaded.rows);
}

Json value_in_file(const Row& row, const FileField& field) {
  try {
    return to_file_value(row[*field.attribute]);
  } catch (const Error&) {
    throw Failure(ExitCode::kFailed,
                  fmt::format("Nothing was exported: {} of {} has no UTF-8 form, so that it cannot "
                              "stand in a file.",
                              field.name, describe(row)));
  }
}

Json values_of(const Row& row) {
  Json record = Json::object();
  for (const FileField& field : file_fields(row.record_class())) {
    if (field.kind == FileField::Kind::kValue) record[field.name] = value_in_file(row, field);
  }
  return record;
}

/// Files on their way to the folder: they stay beside it until all of them are whole.
class Staging final {
 public:
  explicit Staging(const fs::path& folder) : folder_(folder), scratch_(folder) {
    fs::create_directory(scratch_.path() / kReportsFolder);
  }

  void write(const fs::path& name, const std::string& content) {
    errno = 0;
    std::ofstream stream(reserve(name), std::ios::binary);
    stream << content << std::flush;
    if (!stream)
      throw std::system_error(errno, std::generic_category(), platform::path_to_utf8(name));
  }

  /// Where the file is to be written by somebody else. `name` is that of its place in the folder.
  [[nodiscard]] fs::path reserve(const fs::path& name) {
    require_place(name);
    names_.push_back(name);
    return scratch_.path() / name;
  }
  /// It came to nothing.
  void forget_last() { names_.pop_back(); }

  /// Puts all of them in their places and removes `stale` files, as far as none came instead.
  void put_in_place(const std::set<fs::path>& stale) {
    platform::reach_disk(scratch_.path(), written());
    finish_first([&] {
      fs::create_directory(folder_ / kReportsFolder);
      make_mark();
      for (const fs::path& name : names_) fs::rename(scratch_.path() / name, folder_ / name);
      for (const fs::path& name : stale) {
        if (std::ranges::find(names_, name) == names_.end()) fs::remove(folder_ / name);
      }
      remove_if_empty(folder_ / kReportsFolder);
      fs::remove(folder_ / kUnfinished);
    });
  }

 private:
  // Nothing but a file may give way.
  void require_place(const fs::path& name) const {
    const fs::file_status there = fs::symlink_status(folder_ / name);
    if (fs::exists(there) && !fs::is_regular_file(there)) {
      throw Failure(ExitCode::kFailed,
                    fmt::format("Nothing was exported: '{}' is there, and is no file.",
                                platform::path_to_utf8(folder_ / name)));
    }
  }

  [[nodiscard]] std::vector<fs::path> written() const {
    std::vector<fs::path> files;
    for (const fs::path& name : names_) files.push_back(scratch_.path() / name);
    return files;
  }

  void make_mark() const {
    errno = 0;
    if (std::ofstream(folder_ / kUnfinished)) return;
    const int error = errno;
    remove_if_empty(folder_ / kReportsFolder);
    throw std::system_error(error, std::generic_category(), platform::path_to_utf8(folder_));
  }

  static void remove_if_empty(const fs::path& folder) {
    std::error_code not_empty;
    fs::remove(folder, not_empty);
  }

  fs::path folder_;
  ScratchFolder scratch_;
  std::vector<fs::path> names_;
};

std::string lines_of(const std::vector<Row>& rows) {
  std::string lines;
  for (const Row& row : rows) {
    std::string line;
    const Json values = values_of(row);
    for (const auto& [name, value] : values.items()) {
      line += fmt::format("{}\"{}\": {}", line.empty() ? "" : ", ", name, value.dump());
    }
    lines += fmt::format("{}\n {{{}}}", lines.empty() ? "[" : ",", line);
  }
  return lines.empty() ? "[]\n" : lines + "\n]\n";
}

std::string table_of(const std::vector<Row>& rows, automation::ClassId record_class) {
  std::ostringstream table;
  std::vector<std::string> cells;
  for (const FileField& field : file_fields(record_class)) cells.push_back(field.name);
  write_csv(table, cells);
  for (const Row& row : rows) {
    cells.clear();
    const Json values = values_of(row);
    for (const Json& value : values) cells.push_back(to_cell(value));
    write_csv(table, cells);
  }
  return std::move(table).str();
}

// The files of a report; their names become its values.
void export_files(const Session& session, Staging& staging, const Row& report,
                  const std::string& stem, Json& record) {
  const fs::path folder(kReportsFolder);
  for (const FileField& field : file_fields(report.record_class())) {
    if (field.kind == FileField::Kind::kValue) continue;
    const bool ttx = field.kind == FileField::Kind::kTtx;
    const std::string name = stem + (ttx ? ".ttx" : ".rpt");
    record[field.name] = nullptr;
    if (ttx) {
      const std::string bytes = ttx_bytes(report);
      if (bytes.empty()) continue;
      staging.write(folder / name, bytes);
    } else if (!extract_report_file(session, report, staging.reserve(folder / name))) {
      staging.forget_last();
      continue;
    }
    record[field.name] = name;
  }
}

std::string catalog_of(const Session& session, Staging& staging, const std::vector<Row>& reports) {
  std::vector<Text> names;
  for (const Row& report : reports) names.push_back(report.get<Report, "Name">());
  const std::vector<std::string> stems = payload_names(names);
  ProgressBar bar;
  Json records = Json::array();
  for (std::size_t i = 0; i < reports.size(); ++i) {
    Json record = values_of(reports[i]);
    export_files(session, staging, reports[i], stems[i], record);
    records.push_back(std::move(record));
    bar.show(u"Report files", i + 1, reports.size());
  }
  return records.dump(2) + "\n";
}

// The report files of the export that the folder holds. One that makes no sense has none that are
// known: they stay.
std::set<fs::path> report_files_in(const fs::path& folder) {
  std::set<fs::path> files;
  if (!fs::exists(folder / kReportDocument)) return files;
  std::vector<RawRecord> records;
  try {
    records = read_json_records(folder / kReportDocument);
  } catch (const Failure&) {
    return files;
  }
  for (const RawRecord& record : records) {
    for (const RawRecord::Field& field : record.fields) {
      const bool names_file = std::ranges::any_of(
          file_fields(automation::ClassId::kReport), [&](const FileField& known) {
            return known.kind != FileField::Kind::kValue && known.name == field.name;
          });
      const auto* name = field.value.get_ptr<const std::string*>();
      if (names_file && name != nullptr && is_plain_file_name(*name)) {
        files.insert(kReportsFolder / platform::path_from_utf8(*name));
      }
    }
  }
  return files;
}

bool holds_table(const fs::path& folder) {
  if (!fs::exists(folder / kTable)) return false;
  if (!fs::exists(folder / "pcs.json")) return true;
  throw Failure(ExitCode::kFailed,
                fmt::format("The folder '{}' holds both pcs.json and {}: which of them counts?",
                            platform::path_to_utf8(folder), kTable));
}

/// A folder that is made now, and goes again unless it is kept.
class NewFolder final {
 public:
  explicit NewFolder(const fs::path& folder) {
    for (fs::path at = folder; !fs::exists(at); at = at.parent_path()) made_.push_back(at);
    try {
      fs::create_directories(folder);
    } catch (const fs::filesystem_error&) {
      remove();
      throw;
    }
  }
  ~NewFolder() { remove(); }
  NewFolder(const NewFolder&) = delete;
  NewFolder& operator=(const NewFolder&) = delete;

  void keep() { made_.clear(); }

 private:
  void remove() const {
    std::error_code ignored;
    for (const fs::path& folder : made_) fs::remove(folder, ignored);
  }

  std::vector<fs::path> made_;  // the innermost first
};

}  // namespace

std::array<std::size_t, kDocumentCount> export_folder(const Session& session,
                                                      const fs::path& folder) {
  const std::array<std::vector<Row>, kDocumentCount> rows{
      whole(load_components(session)), whole(load_pcs(session)), whole(load_reports(session))};
  try {
    NewFolder made(folder);
    const bool table = holds_table(folder);
    Staging staging(folder);
    const auto& [components, pcs, reports] = rows;
    staging.write("components.json", lines_of(components));
    if (table) {
      staging.write(kTable, table_of(pcs, automation::ClassId::kRegisteredPC));
    } else {
      staging.write("pcs.json", lines_of(pcs));
    }
    staging.write(kReportDocument, catalog_of(session, staging, reports));
    staging.put_in_place(report_files_in(folder));
    made.keep();
  } catch (const std::system_error& error) {
    throw Failure(ExitCode::kFailed,
                  fmt::format("The folder '{}' cannot be written: {}",
                              platform::path_to_utf8(folder), error.code().message()));
  }
  return {rows[0].size(), rows[1].size(), rows[2].size()};
}

}  // namespace tarnwick::cli
