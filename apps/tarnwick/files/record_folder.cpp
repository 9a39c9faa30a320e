#include "apps/tarnwick/files/record_folder.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/files/json_records.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/csv.h"
#include "platform/file_system.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

namespace fs = std::filesystem;

using Fields = std::span<const FileField>;

bool is_code(const AttributeValue& value) {
  return std::holds_alternative<ReportCodeEnum>(value) ||
         std::holds_alternative<ReportTypesEnum>(value);
}

/// Makes records of what one file says.
class RecordReader final {
 public:
  RecordReader(const fs::path& file, automation::ClassId record_class)
      : file_(file), fields_(file_fields(record_class)), class_(record_class) {}

  [[nodiscard]] std::vector<FileRecord> records(const std::vector<RawRecord>& raw) {
    std::vector<FileRecord> records;
    records.reserve(raw.size());
    for (const RawRecord& each : raw) records.push_back(record(each));
    return records;
  }

 private:
  FileRecord record(const RawRecord& raw) {
    FileRecord record{.row = Row(class_)};
    for (const RawRecord::Field& field : raw.fields) take(record, field);
    for (const FileField& field : fields_) require_value(record.row, field, raw.line);
    const auto [first, is_new] = lines_.try_emplace(identity_of(record.row), raw.line);
    if (!is_new) {
      refuse_line(file_, raw.line,
                  fmt::format("{} stands in line {} already", describe(record.row), first->second));
    }
    return record;
  }

  void take(FileRecord& record, const RawRecord::Field& raw) const {
    const auto field = std::ranges::find(fields_, raw.name, &FileField::name);
    if (field == fields_.end()) {
      refuse_line(file_, raw.line, fmt::format("there is no field '{}'", raw.name));
    }
    if (field->kind == FileField::Kind::kTtx) {
      record.ttx = file_named(raw);
    } else if (field->kind == FileField::Kind::kReportFile) {
      record.report_file = file_named(raw);
    } else {
      try {
        const AttributeValue value = from_file_value(*field->attribute, raw.value);
        record.row.set(*field->attribute, value);
        if (is_code(value) && value != field->attribute->zero) {
          record.codes[field->name] = from_utf8(raw.value.get_ref<const std::string&>());
        }
      } catch (const BadValue& error) {
        refuse_line(file_, raw.line, fmt::format("{} {}", raw.name, error.what()));
      }
    }
  }

  [[nodiscard]] fs::path file_named(const RawRecord::Field& raw) const {
    if (raw.value.is_null()) return {};
    const auto* name = raw.value.get_ptr<const std::string*>();
    if (name == nullptr || !is_plain_file_name(*name)) {
      refuse_line(file_, raw.line,
                  fmt::format("{} is {}, but must name a file in '{}'", raw.name,
                              raw.value.dump(-1, ' ', true), kReportsFolder));
    }
    fs::path file = file_.parent_path() / kReportsFolder / platform::path_from_utf8(*name);
    std::error_code unknown;
    if (!fs::is_regular_file(file, unknown)) {
      refuse_line(file_, raw.line,
                  fmt::format("{} names '{}', and there is no such file", raw.name,
                              platform::path_to_utf8(file)));
    }
    return file;
  }

  void require_value(const Row& row, const FileField& field, std::size_t line) const {
    if (field.kind != FileField::Kind::kValue) return;
    const bool missing = std::holds_alternative<Empty>(row[*field.attribute]);
    if (missing && std::holds_alternative<Empty>(field.attribute->null)) {
      refuse_line(file_, line, fmt::format("{} is missing, or null", field.name));
    }
  }

  const fs::path& file_;
  Fields fields_;
  automation::ClassId class_;
  std::map<Text, std::size_t> lines_;
};

// The columns of a table by its headings.
std::vector<const FileField*> columns_of(const fs::path& file, Fields fields,
                                         const std::vector<std::string>& headings) {
  if (headings.size() == 1 && headings[0].find(';') != std::string::npos) {
    refuse_line(file, 1, "its columns are parted by semicolons, but must be by commas");
  }
  std::vector<const FileField*> columns;
  for (const std::string& heading : headings) {
    const auto field = std::ranges::find(fields, heading, &FileField::name);
    if (field == fields.end()) {
      refuse_line(file, 1, fmt::format("there is no field '{}'", heading));
    }
    if (std::ranges::find(columns, &*field) != columns.end()) {
      refuse_line(file, 1, fmt::format("the column {} stands there twice", heading));
    }
    columns.push_back(&*field);
  }
  for (const FileField& field : fields) {
    if (std::ranges::find(columns, &field) == columns.end()) {
      refuse_line(file, 1, fmt::format("the column {} is missing", field.name));
    }
  }
  return columns;
}

std::vector<RawRecord> read_table(const fs::path& file, Fields fields) {
  std::vector<CsvRecord> table;
  try {
    table = read_csv(read_utf8_file(file));
  } catch (const CsvError& error) {
    refuse_line(file, error.line(), error.what());
  }
  const auto columns =
      columns_of(file, fields, table.empty() ? std::vector<std::string>() : table[0].cells);
  std::vector<RawRecord> records;
  for (const CsvRecord& line : std::span(table).subspan(1)) {
    if (line.cells.size() != columns.size()) {
      refuse_line(file, line.line,
                  fmt::format("it has {} cells, but there are {} columns", line.cells.size(),
                              columns.size()));
    }
    RawRecord& record = records.emplace_back(RawRecord{.fields = {}, .line = line.line});
    for (std::size_t i = 0; i < columns.size(); ++i) {
      record.fields.push_back(
          {columns[i]->name, from_cell(*columns[i]->attribute, line.cells[i]), line.line});
    }
  }
  return records;
}

[[noreturn]] void refuse_folder(const fs::path& folder, const std::string& why) {
  throw Failure(ExitCode::kFailed,
                fmt::format("The folder '{}' {}", platform::path_to_utf8(folder), why));
}

std::vector<FileRecord> read_document(const fs::path& folder, const Document& document) {
  const fs::path json = folder / fmt::format("{}.json", document.stem);
  const bool may_be_table = document.record_class == automation::ClassId::kRegisteredPC;
  const bool is_table = may_be_table && fs::exists(folder / kTable);
  const bool is_json = fs::exists(json);
  const std::string name = platform::path_to_utf8(json.filename());
  if (is_json && is_table) {
    refuse_folder(folder, fmt::format("holds both {} and {}: which of them counts?", name, kTable));
  }
  if (!is_json && !is_table) {
    refuse_folder(folder, fmt::format("is no whole export: {}{} is missing.", name,
                                      may_be_table ? fmt::format(" or {}", kTable) : ""));
  }
  const fs::path file = is_table ? folder / kTable : json;
  RecordReader reader(file, document.record_class);
  return reader.records(is_table ? read_table(file, file_fields(document.record_class))
                                 : read_json_records(file));
}

}  // namespace

RecordFolder read_folder(const fs::path& folder) try {
  if (!fs::is_directory(folder)) refuse_folder(folder, "does not exist.");
  if (fs::exists(folder / kUnfinished)) {
    refuse_folder(folder,
                  "is no whole export: one was broken off while it was put there. Export anew.");
  }
  RecordFolder records;
  for (std::size_t i = 0; i < kDocumentCount; ++i) {
    records[i] = read_document(folder, documents()[i]);
  }
  return records;
} catch (const fs::filesystem_error& error) {
  refuse_folder(folder, fmt::format("cannot be read: {}.", error.code().message()));
}

Text identity_of(const Row& row) {
  Text identity;
  for (const Attribute& attribute : row.attributes()) {
    if (!attribute.key) continue;
    const Text* const text = std::get_if<Text>(&row[attribute]);
    identity += text != nullptr ? fold(*text) : from_utf8(to_cell(to_file_value(row[attribute])));
    identity += u'\0';
  }
  return identity;
}

bool is_plain_file_name(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\\:\0", 4)) == std::string_view::npos;
}

}  // namespace tarnwick::cli
