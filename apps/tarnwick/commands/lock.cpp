#include <fmt/format.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

// A stamp is the holder's computer name, " - ", and the time; a name may hold a dash itself.
std::pair<std::string, std::string> parse_stamp(const Text& text) {
  const std::string stamp = to_display_utf8(text);
  const std::size_t dash = stamp.rfind(" - ");
  if (dash == std::string::npos) return {stamp, ""};
  return {stamp.substr(0, dash), stamp.substr(dash + 3)};
}

void list_locks(const Options& options) {
  const auto rows = held_rows(options);
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
  if (options.json) return print_json(array);
  if (rows.empty()) {
    fmt::print("None.\n");
  } else {
    table.print();
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
  add_command(*locks, line, "list", "Who holds which row, since when.", "", list_locks);

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
