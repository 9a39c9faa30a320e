#include <fmt/format.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/sorting.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "apps/tarnwick/terminal/pager.h"
#include "runtime/conversions.h"

namespace tarnwick::cli {
namespace {

const std::vector<std::string> kColumns{"Table", "Row", "HeldBy", "Since", "Process"};

// A time as it stands in a stamp; a text where it is none.
SortKey time_key(const std::string& since) {
  const Text text = from_stored_utf8(since);
  try {
    return sort_key(AttributeValue(to_date(Variant(text))));
  } catch (const Error&) {
    return sort_key(TextView(text));
  }
}

SortKey key_of(const ado::HeldRow& row, std::size_t column) {
  const auto [computer, since] = parse_stamp(row.stamp);
  switch (column) {
    case 0:
      return sort_key(TextView(row.table));
    case 1:
      return sort_key(TextView(row.key));
    case 2:
      return sort_key(TextView(from_stored_utf8(computer)));
    case 3:
      return time_key(since);
    default:
      return row.process_id ? SortKey(static_cast<double>(*row.process_id)) : SortKey();
  }
}

void list_locks(const Options& options, const Order& order) {
  auto rows = held_rows(options);
  order.apply(rows,
              [&](std::size_t column, std::size_t line) { return key_of(rows[line], column); });
  auto array = nlohmann::ordered_json::array();
  Table table;
  for (const std::string_view heading : {"Table", "Row", "HeldBy", "Since"}) {
    table.add_column(heading);
  }
  table.add_column("Process", Table::Column::kNumber);
  for (const ado::HeldRow& row : rows) {
    const std::string name = to_display_utf8(row.table);
    const std::string key = to_display_utf8(row.key);
    const auto [computer, since] = parse_stamp(row.stamp);
    array.push_back({{"Table", name}, {"Row", key}, {"HeldBy", computer}, {"Since", since}});
    auto& process = array.back()["Process"];
    if (row.process_id) process = *row.process_id;
    table.add_line({name, key, computer, since, process.is_null() ? "" : process.dump()});
  }
  if (options.json) return page(options, json_text(array));
  if (options.csv) return page(options, csv_text(kColumns, array));
  if (rows.empty()) {
    fmt::print("None.\n");
  } else {
    page(options, table.text());
  }
}

void hold(const Options& options, const Row& given) {
  const auto session = connect(options);
  const Row key = find_key(*session, given);
  const Record record = lock(*session, key);
  fmt::print("{} locked. Press Enter to release it.\n", describe(key));
  std::fflush(stdout);
  std::string ignored;
  std::getline(std::cin, ignored);
  record.release();
  fmt::print("{} released.\n", describe(key));
}

}  // namespace

void add_lock_commands(CLI::App& app, CommandLine& line) {
  CLI::App* locks = add_group(app, "lock", "The rows that are being maintained.");
  const auto order = std::make_shared<Order>(kColumns);
  CLI::App* list = add_command(*locks, line, "list", "Who holds which row, since when.",
                               "tarnwick lock list --sort Since",
                               [order](const Options& options) { list_locks(options, *order); });
  order->add_options(*list);
  add_csv(*list, line);

  CLI::App* holding = add_group(*locks, "hold", "Locks a row and keeps it until Enter is pressed.",
                                "tarnwick lock hold report 'Open Orders'");
  const auto add_hold = [&](ClassId record_class, const std::string& name,
                            const std::string& help) {
    RecordCommands(*holding, line, record_class).add(name, help, "", hold);
  };
  add_hold(ClassId::kComponent, "component", "Holds a component.");
  add_hold(ClassId::kRegisteredPC, "pc", "Holds a PC as a user of a component.");
  add_hold(ClassId::kReport, "report", "Holds a report.");
}

}  // namespace tarnwick::cli
