#include "apps/tarnwick/output/telling.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <span>
#include <sstream>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/csv.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/values.h"
#include "apps/tarnwick/terminal/pager.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

bool is_version(const Attribute& attribute) { return attribute.form == Form::kRowVersion; }

const Attribute& attribute_named(const Row& row, std::string_view name) {
  const auto all = row.attributes();
  const auto found = std::ranges::find_if(all, [&](const Attribute& candidate) {
    return equals_ignoring_case(from_stored_utf8(candidate.name()), from_stored_utf8(name));
  });
  if (found == all.end()) {
    throw Failure(ExitCode::kUsage, fmt::format("There is no field '{}'.", name));
  }
  return *found;
}

Table::Column column_of(const Attribute& attribute) {
  const AttributeValue& zero = attribute.zero;
  if (std::holds_alternative<std::int16_t>(zero) || std::holds_alternative<std::int32_t>(zero)) {
    return Table::Column::kNumber;
  }
  const bool may_be_cut = std::holds_alternative<Text>(zero) && !attribute.key;
  return may_be_cut ? Table::Column::kMayBeCut : Table::Column::kWhole;
}

bool holds(const Columns& columns, const Attribute& attribute) {
  return std::ranges::find(columns, &attribute) != columns.end();
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
std::string brief(const AttributeValue& value) {
  constexpr std::size_t kLongest = 60;
  const std::string text = printable(display(value));
  if (text.size() <= kLongest) return text;
  std::size_t end = kLongest;
  while ((static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // not inside a character
  return text.substr(0, end) + "…";
}

std::vector<std::string> headings_of(std::span<const Attribute> attributes) {
  std::vector<std::string> headings;
  for (const Attribute& attribute : attributes) headings.emplace_back(attribute.name());
  return headings;
}

std::vector<std::string> csv_cells(const std::vector<std::string>& headings,
                                   const nlohmann::ordered_json& object) {
  std::vector<std::string> cells;
  for (const std::string& heading : headings) {
    const auto& value = object.at(heading);
    if (value.is_string()) {
      cells.push_back(value.get<std::string>());
    } else {
      cells.push_back(value.is_null() ? std::string() : value.dump());
    }
  }
  return cells;
}

void print_changes(const Row& before, const Row& after) {
  for (const Attribute& attribute : before.attributes()) {
    if (is_version(attribute) || before[attribute] == after[attribute]) continue;
    print("  {}: '{}' -> '{}'\n", attribute.name(), brief(before[attribute]),
          brief(after[attribute]));
  }
}

}  // namespace

std::string json_text(const nlohmann::ordered_json& json) {
  // What is not UTF-8 in a file name or an answer must not end the program.
  return json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + '\n';
}

void print_json(const nlohmann::ordered_json& json) { print_text(json_text(json)); }

std::string csv_text(const std::vector<std::string>& headings,
                     const nlohmann::ordered_json& array) {
  std::ostringstream table;
  write_csv(table, headings);
  for (const auto& object : array) write_csv(table, csv_cells(headings, object));
  return std::move(table).str();
}

void show(const Options& options, const Row& row, const std::string& name) {
  const auto as_csv = [&](const std::vector<std::string>& headings) {
    return csv_text(headings, nlohmann::ordered_json::array({to_json(row)}));
  };
  if (!name.empty()) {
    const Attribute& attribute = attribute_named(row, name);
    const AttributeValue& value = row[attribute];
    if (options.csv) return page(options, as_csv({std::string(attribute.name())}));
    return page(options, options.json ? json_text(to_json(value)) : display(value) + '\n');
  }
  if (options.csv) return page(options, as_csv(headings_of(row.attributes())));
  if (options.json) return page(options, json_text(to_json(row)));
  std::string shown;
  std::size_t width = 0;
  for (const Attribute& attribute : row.attributes())
    width = std::max(width, attribute.name().size());
  for (const Attribute& attribute : row.attributes()) {
    std::string text = printable(display(row[attribute]), true);
    while (text.ends_with('\n')) text.pop_back();
    if (text.empty()) {
      shown += fmt::format("{}\n", attribute.name());
    } else {
      shown += fmt::format("{:<{}}  {}\n", attribute.name(), width, hanging(text, width + 2));
    }
  }
  page(options, shown);
}

std::vector<std::string> cells(const Row& row, const Columns& columns) {
  std::vector<std::string> cells;
  for (const Attribute* attribute : columns) cells.push_back(display(row[*attribute]));
  return cells;
}

std::string listing_text(const Options& options, ClassId record_class, const std::vector<Row>& rows,
                         const std::vector<MoreColumn>& more) {
  const auto to_object = [&](const Row& row) {
    nlohmann::ordered_json object = to_json(row);
    for (const MoreColumn& column : more) {
      const auto number = column.of(row);
      object[column.name] = number ? nlohmann::ordered_json(*number) : nullptr;
    }
    return object;
  };
  if (options.json) {
    auto array = nlohmann::ordered_json::array();
    for (const Row& row : rows) array.push_back(to_object(row));
    return json_text(array);
  }
  std::vector<std::string> headings = headings_of(client::attributes_of(record_class));
  for (const MoreColumn& column : more) headings.push_back(column.name);
  std::ostringstream table;
  write_csv(table, headings);
  for (const Row& row : rows) write_csv(table, csv_cells(headings, to_object(row)));
  return std::move(table).str();
}

void list(const Options& options, ClassId record_class, const Loaded& loaded, const Columns& first,
          const Columns& without, const std::vector<MoreColumn>& more) {
  if (options.json || options.csv) {
    page(options, listing_text(options, record_class, loaded.rows, more));
  } else if (loaded.rows.empty()) {
    print("None.\n");
  } else {
    Columns columns = first;
    for (const Attribute& attribute : client::attributes_of(record_class)) {
      if (!holds(first, attribute) && !holds(without, attribute)) columns.push_back(&attribute);
    }
    Table table;
    for (const Attribute* attribute : columns) {
      table.add_column(attribute->name(), column_of(*attribute));
    }
    for (const MoreColumn& column : more) table.add_column(column.name, Table::Column::kNumber);
    for (const Row& row : loaded.rows) {
      auto line = cells(row, columns);
      for (const MoreColumn& column : more) {
        const auto number = column.of(row);
        line.push_back(number ? fmt::format("{}", *number) : "");
      }
      table.add_line(line);
    }
    page(options, table.text());
  }
  require_complete(loaded);
}

void tell_changes(const Options& options, const Row& before, const Row& after,
                  const std::optional<Row>& stored) {
  if (options.json) {
    if (stored) print_json(to_json(*stored));
    return;
  }
  print("{} written.\n", describe(after));
  if (!version_of(before).empty()) print_changes(before, after);
  if (!stored) return;
  if (version_of(before).empty()) {
    print("  row version {}\n", display(version_of(*stored)));
  } else {
    print("  row version {} -> {}\n", display(version_of(before)), display(version_of(*stored)));
  }
}

void explain_conflict(const Options& options, const Row& read, const std::optional<Row>& stored,
                      const Row& to_write) {
  auto array = nlohmann::ordered_json::array();
  Table table;
  for (const std::string_view heading : {"Field", "Read", "Stored", "ToWrite"}) {
    table.add_column(heading);
  }
  for (const Attribute& attribute : read.attributes()) {
    // What was to be written never holds a version of its own.
    const bool version = is_version(attribute);
    const AttributeValue& before = read[attribute];
    const AttributeValue now = stored ? (*stored)[attribute] : Text();
    const AttributeValue wanted = version ? Text() : to_write[attribute];
    if (stored && before == now && (version || before == wanted)) continue;
    array.push_back({{"Field", attribute.name()},
                     {"Read", to_json(before)},
                     {"Stored", stored ? to_json(now) : nullptr},
                     {"ToWrite", to_json(wanted)}});
    table.add_line({std::string(attribute.name()), brief(before), brief(now), brief(wanted)});
  }
  if (options.json) return print_json({{"Conflict", array}, {"RowIsThere", stored.has_value()}});
  if (!stored) print("The row is no longer there.\n");
  print_text(table.text());
}

}  // namespace tarnwick::cli
