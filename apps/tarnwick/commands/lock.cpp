#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/pc_finder.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

// A stamp is the holder's computer name, " - ", and the time; a name may hold a dash itself.
struct Stamp {
  std::string computer;
  std::string since;
};

Stamp parse_stamp(const Text& text) {
  const std::string stamp = to_display_utf8(text);
  const std::size_t dash = stamp.rfind(" - ");
  if (dash == std::string::npos) return {stamp, ""};
  return {stamp.substr(0, dash), stamp.substr(dash + 3)};
}

void list_locks(const Options& options) {
  const auto rows = held_rows(options);
  nlohmann::ordered_json array = nlohmann::ordered_json::array();
  Table table;
  for (const std::string_view heading : {"Table", "Row", "HeldBy", "Since"}) {
    table.add_column(heading);
  }
  table.add_column("Process", Table::Align::kRight);
  for (const ado::HeldRow& row : rows) {
    const Stamp stamp = parse_stamp(row.stamp);
    array.push_back({{"Table", to_display_utf8(row.table)},
                     {"Row", to_display_utf8(row.key)},
                     {"HeldBy", stamp.computer},
                     {"Since", stamp.since}});
    array.back()["Process"] =
        row.process_id ? nlohmann::ordered_json(*row.process_id) : nlohmann::ordered_json();
    table.add_line({to_display_utf8(row.table), to_display_utf8(row.key), stamp.computer,
                    stamp.since, row.process_id ? std::to_string(*row.process_id) : ""});
  }
  if (options.json) return print_json(array);
  if (rows.empty()) {
    fmt::print("None.\n");
  } else {
    table.print();
  }
}

void hold(const Session& session, const Row& key) {
  const Record record = make_record(session, key);
  lock(session, record, describe(key));
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
  add_command(*locks, "list", "Who holds which row, since when.")->callback([&line] {
    line.chosen = [&line] { list_locks(line.options); };
  });

  CLI::App* holding =
      add_command(*locks, "hold", "Locks a row and keeps it until Enter is pressed.",
                  "tarnwick lock hold report 'Open Orders'");

  const auto id = std::make_shared<std::int16_t>();
  CLI::App* component = add_command(*holding, "component", "Holds a component.");
  component->add_option("ID", *id, "the component's id")->required()->check(CLI::Range(0, 32767));
  component->callback([&line, id] {
    line.chosen = [&line, id] {
      Row key = Row::of<Component>();
      key.set<Component, "CompID">(*id);
      hold(*connect(line.options), key);
    };
  });

  const auto arguments = std::make_shared<PcArguments>();
  CLI::App* pc = add_command(*holding, "pc", "Holds a PC as a user of a component.");
  arguments->add_options(*pc);
  pc->callback([&line, arguments] {
    line.chosen = [&line, arguments] {
      const WantedPc wanted = arguments->wanted();
      const auto session = connect(line.options);
      hold(*session, find_key(*session, wanted));
    };
  });

  const auto name = std::make_shared<std::string>();
  CLI::App* report = add_command(*holding, "report", "Holds a report.");
  report->add_option("NAME", *name, "the report's name")->required();
  report->callback([&line, name] {
    line.chosen = [&line, name] {
      Row key = Row::of<Report>();
      key.set<Report, "Name">(text_argument(*name));
      require_plain_key(key);
      hold(*connect(line.options), key);
    };
  });
}

}  // namespace tarnwick::cli
