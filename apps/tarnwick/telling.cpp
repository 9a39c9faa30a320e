#include "apps/tarnwick/telling.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

constexpr std::string_view kRowVersion = "RowVersion";

template <class Row>
const Field<Row>& field_named(const Row& row, std::string_view name) {
  const auto fields = fields_of(row);
  const auto field = std::ranges::find_if(fields, [&](const Field<Row>& candidate) {
    return equals_ignoring_case(from_stored_utf8(candidate.name), from_stored_utf8(name));
  });
  if (field == fields.end()) {
    throw Failure(ExitCode::kUsage, fmt::format("There is no field '{}'.", name));
  }
  return *field;
}

bool is_number(const FieldValue& value) {
  return std::holds_alternative<std::int16_t>(value) || std::holds_alternative<std::int32_t>(value);
}

// The lines of a text under one another, those after the first moved to `column`.
std::string hanging(const std::string& text, std::size_t column) {
  std::string result;
  for (const char c : text) {
    result += c;
    if (c == '\n') result.append(column, ' ');
  }
  return result;
}

// A value inside a sentence or a table of comparisons: on one line, and no longer than a line.
std::string brief(const FieldValue& value) {
  constexpr std::size_t kLongest = 60;
  const std::string text = printable(display(value));
  if (text.size() <= kLongest) return text;
  std::size_t end = kLongest;
  while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // not inside a character
  return text.substr(0, end) + "…";
}

template <class Row>
void print_changes(const Row& before, const Row& after) {
  for (const auto& field : fields_of(before)) {
    if (field.name == kRowVersion || get(before, field) == get(after, field)) continue;
    fmt::print("  {}: '{}' -> '{}'\n", field.name, brief(get(before, field)),
               brief(get(after, field)));
  }
}

}  // namespace

void print_json(const nlohmann::ordered_json& json) {
  // What is not UTF-8 in a file name or an answer must not end the program.
  fmt::print("{}\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

template <class Row>
void show(const Options& options, const Row& row, const std::string& field_name) {
  if (!field_name.empty()) {
    const FieldValue value = get(row, field_named(row, field_name));
    if (options.json) return print_json(to_json(value));
    fmt::print("{}\n", display(value));
    return;
  }
  if (options.json) return print_json(row_to_json(row));
  std::size_t width = 0;
  for (const auto& field : fields_of(row)) width = std::max(width, field.name.size());
  for (const auto& field : fields_of(row)) {
    std::string text = printable(display(get(row, field)), true);
    while (text.ends_with('\n')) text.pop_back();
    if (text.empty()) {
      fmt::print("{}\n", field.name);
    } else {
      fmt::print("{:<{}}  {}\n", field.name, width, hanging(text, width + 2));
    }
  }
}

template <class Row>
void list(const Options& options, const std::vector<Row>& rows,
          const std::vector<std::string_view>& names) {
  if (options.json) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const Row& row : rows) array.push_back(row_to_json(row));
    return print_json(array);
  }
  if (rows.empty()) {
    fmt::print("None.\n");
    return;
  }
  Table table;
  std::vector<const Field<Row>*> fields;
  for (const std::string_view name : names) {
    const auto& field = fields.emplace_back(&field_named(Row(), name));
    const FieldValue kind = get(Row(), *field);
    table.add_column(name, is_number(kind) ? Table::Align::kRight : Table::Align::kLeft,
                     std::holds_alternative<Text>(kind) && !field->key);
  }
  for (const Row& row : rows) {
    std::vector<std::string> cells;
    cells.reserve(fields.size());
    for (const auto* field : fields) cells.push_back(display(get(row, *field)));
    table.add_line(cells);
  }
  table.print();
}

template <class Row>
void tell_locked(const Row& row) {
  fmt::print("{} locked.\n  row version {}\n", describe(row), display(row.row_version));
}

template <class Row>
void tell_changes(const Options& options, const Row& before, const Row& after,
                  const std::optional<Row>& stored) {
  if (options.json) {
    if (stored) print_json(row_to_json(*stored));
    return;
  }
  fmt::print("{} written.\n", describe(after));
  if (!before.row_version.empty()) print_changes(before, after);
  if (!stored) return;
  if (before.row_version.empty()) {
    fmt::print("  row version {}\n", display(stored->row_version));
  } else {
    fmt::print("  row version {} -> {}\n", display(before.row_version),
               display(stored->row_version));
  }
}

template <class Row>
void explain_conflict(const Options& options, const Row& read, const std::optional<Row>& stored,
                      const Row& to_write) {
  struct Column {
    std::string_view name;
    FieldValue read, stored, to_write;
  };
  std::vector<Column> columns;
  for (const auto& field : fields_of(read)) {
    // What was to be written never holds a version of its own.
    const bool is_version = field.name == kRowVersion;
    Column column{field.name, get(read, field), stored ? get(*stored, field) : Text(),
                  is_version ? Text() : get(to_write, field)};
    const bool alike =
        stored && column.read == column.stored && (is_version || column.read == column.to_write);
    if (!alike) columns.push_back(std::move(column));
  }
  if (options.json) {
    nlohmann::ordered_json array = nlohmann::ordered_json::array();
    for (const Column& column : columns) {
      array.push_back({{"Field", column.name},
                       {"Read", to_json(column.read)},
                       {"Stored", stored ? to_json(column.stored) : nullptr},
                       {"ToWrite", to_json(column.to_write)}});
    }
    return print_json({{"Conflict", array}, {"RowIsThere", stored.has_value()}});
  }
  if (!stored) fmt::print("The row is no longer there.\n");
  Table table;
  for (const std::string_view heading : {"Field", "Read", "Stored", "ToWrite"}) {
    table.add_column(heading);
  }
  for (const Column& column : columns) {
    table.add_line({std::string(column.name), brief(column.read), brief(column.stored),
                    brief(column.to_write)});
  }
  table.print();
}

#define TARNWICK_TELL(Row)                                                                       \
  template void show(const Options&, const Row&, const std::string&);                            \
  template void list(const Options&, const std::vector<Row>&,                                    \
                     const std::vector<std::string_view>&);                                      \
  template void tell_locked(const Row&);                                                         \
  template void tell_changes(const Options&, const Row&, const Row&, const std::optional<Row>&); \
  template void explain_conflict(const Options&, const Row&, const std::optional<Row>&, const Row&);
TARNWICK_TELL(ComponentRow)
TARNWICK_TELL(PcRow)
TARNWICK_TELL(ReportRow)
#undef TARNWICK_TELL

}  // namespace tarnwick::cli
