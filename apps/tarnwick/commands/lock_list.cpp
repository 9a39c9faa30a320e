#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "apps/common/engines.h"
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/database/held_rows.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/holds.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/terminal/pager.h"
#include "platform/terminal.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

constexpr std::chrono::milliseconds kRedrawn{1000};

// As to_json names them.
const std::vector<std::string> kFields{"Table",   "Row",     "HeldBy", "Since",  "Seconds",
                                       "Process", "Program", "User",   "Session"};

// How many rows there is room for on the screen, beside the line above the table, the heading, the
// line that tells how many more there are, a note of up to two lines, and the cursor's line.
std::size_t room_on_screen() {
  constexpr std::size_t kOthers = 6;
  const std::size_t rows = platform::terminal_size().rows;
  return rows <= kOthers ? 1 : rows - kOthers;
}

// What `step` yields; an error in it is the end of the command.
template <class Step>
auto or_fail(Step&& step) {
  try {
    return step();
  } catch (const Error& error) {
    throw Failure(ExitCode::kFailed, "The locks cannot be read.", error.description());
  }
}

HeldRows held_rows(apps::ProgramEngines& engines, const Options& options) {
  const Login login = login_of(options);
  return or_fail([&] { return HeldRows(engines.list(), login); });
}

std::vector<Hold> read(HeldRows& held) {
  return or_fail([&] { return held.read(); });
}

std::vector<Hold> sorted(std::vector<Hold> rows, const Order& order, Date now) {
  order.apply(rows, [&](std::size_t column, std::size_t line) {
    return sort_key(rows[line], column, now);
  });
  return rows;
}

void watch(const Options& options, const Order& order) {
  if (!platform::is_terminal(platform::Standard::kInput) ||
      !platform::is_terminal(platform::Standard::kOutput)) {
    throw Failure(ExitCode::kUsage,
                  "--watch needs a terminal: one to show the rows on, and one to end it from.");
  }
  if (options.json || options.csv) {
    throw Failure(ExitCode::kUsage, fmt::format("--watch is for people: leave out --{}.",
                                                options.json ? "json" : "csv"));
  }
  apps::ProgramEngines engines;
  HeldRows held = held_rows(engines, options);
  // Any key ends it, also one that would send a signal.
  const platform::TerminalMode one_key(platform::TerminalMode::Without::kAll);
  platform::clear_screen();
  do {
    const Date now = local_now();
    const auto rows = sorted(read(held), order, now);
    platform::begin_screen();
    print("Rows that are maintained, {}. Any key ends this.\n", to_utf8(to_iso_text(now)));
    print_text(holds_text(rows, now, room_on_screen()));
    if (!held.note().empty()) print("{}\n", held.note());
    flush_output();
  } while (!platform::key_comes_within(kRedrawn));
}

void list(const Options& options, const Order& order) {
  apps::ProgramEngines engines;
  HeldRows held = held_rows(engines, options);
  const Date now = local_now();
  const auto rows = sorted(read(held), order, now);
  if (!held.note().empty()) tell_error(held.note());
  auto array = nlohmann::ordered_json::array();
  for (const Hold& row : rows) array.push_back(to_json(row, now));
  if (options.json) return page(options, json_text(array));
  if (options.csv) return page(options, csv_text(kFields, array));
  page(options, holds_text(rows, now, std::numeric_limits<std::size_t>::max()));
}

}  // namespace

void add_lock_list_command(CLI::App& locks, CommandLine& line) {
  const auto watched = std::make_shared<bool>(false);
  const auto order = std::make_shared<Order>(hold_columns());
  CLI::App* command = add_command(
      locks, line, "list", "Who holds which row, since when and for how long, in which process.",
      "tarnwick lock list --sort Since", [watched, order](const Options& options) {
        *watched ? watch(options, *order) : list(options, *order);
      });
  order->add_options(*command);
  add_csv(*command, line);
  command->add_flag("--watch", *watched,
                    "keep the list on the screen, read anew every second, until a key is pressed");
}

}  // namespace tarnwick::cli
