#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "apps/common/engines.h"
#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/database/embedded_folder.h"
#include "apps/tarnwick/database/held_rows.h"
#include "apps/tarnwick/database/role_connection.h"
#include "apps/tarnwick/examination/holds.h"
#include "apps/tarnwick/examination/tables.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "engines/sqlite/upgrade_database.h"

namespace tarnwick::cli {
namespace {

struct Counts {
  std::size_t components = 0;
  std::size_t pcs = 0;
  std::size_t reports = 0;
};

// What came of loading everything: the counts, or why not all could be loaded.
struct Load {
  std::optional<Counts> counts = {};
  FailureCause cause = {};
  Text account = {};
};

// Fetches the rows: what cannot be had of them is told.
template <class Collection>
std::size_t count(const Proxy<Collection>& list) {
  auto rows = list.rows();
  fill_gaps(rows);
  return rows.size();
}

Load load_all(const Session& session) {
  const Progress progress("Loading components, PCs and reports");
  const Proxy<Server>& server = session.server();
  session.clear_last_cause();
  const bool done = server.call<"Refresh">();
  Load load{.account = session.last_error_msg()};
  if (!done || !load.account.empty()) {
    load.cause = session.last_cause();
  } else {
    load.counts = {count(server.get<"Components">()), count(server.get<"RegisteredPCs">()),
                   count(server.get<"Reports">())};
  }
  return load;
}

// Looks at the database itself. Throws Error.
Findings examine(const Login& login, std::chrono::minutes longest) {
  const Progress progress("Examining components, PCs and reports");
  apps::ProgramEngines engines;
  HeldRows held(engines.list(), login);
  Findings findings = examine_tables(held.connection());
  std::ranges::move(examine_holds(held.read(), local_now(), longest), std::back_inserter(findings));
  return findings;
}

[[noreturn]] void refuse(const Load& load) {
  refuse_load("components, PCs and reports", load.cause, load.account);
}

Findings examine(const Options& options, const Login& login, const Load& load,
                 std::chrono::minutes longest) {
  try {
    return examine(login, longest);
  } catch (const Error& error) {
    if (!load.counts) refuse(load);
    // The service of a bus that was named may reach what this user cannot.
    if (!options.system_bus && options.address.empty()) {
      throw Failure(ExitCode::kFailed, "The rows cannot be examined.", error.description());
    }
    tell_error(fmt::format("The database itself cannot be reached from here, so that its rows were "
                           "loaded, but not examined: {}",
                           to_display_utf8(error.description()))
                   .c_str());
    return {};
  }
}

void tell(const Findings& findings) {
  for (const Finding& finding : findings) {
    print("{}: {}.\n", finding.record, finding.what);
    if (!finding.command.empty()) print("  {}\n", finding.command);
  }
}

nlohmann::ordered_json to_json(const Findings& findings) {
  auto array = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) {
    array.push_back({{"Kind", finding.kind}, {"Record", finding.record}, {"What", finding.what}});
    array.back()["Command"] = finding.command.empty() ? nlohmann::ordered_json()
                                                      : nlohmann::ordered_json(finding.command);
  }
  return array;
}

void tell(const Options& options, const Load& load, const Findings& findings) {
  if (options.json) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    if (load.counts) {
      json = {{"Components", load.counts->components},
              {"RegisteredPCs", load.counts->pcs},
              {"Reports", load.counts->reports}};
    }
    if (!findings.empty()) json["Findings"] = to_json(findings);
    return print_json(json);
  }
  if (load.counts) {
    print("Connected; loaded {} components, {} registered PCs and {} reports.\n",
          load.counts->components, load.counts->pcs, load.counts->reports);
  }
  tell(findings);
}

bool is_older_database(const Login& login) {
  try {
    const auto folder = embedded_folder(login.connect_string);
    return folder && sqlite::needs_upgrade(*folder, kDatabase);
  } catch (const Failure&) {
    return false;  // none that could be connected to
  }
}

// Connects; that the tables are older ones is a finding, too.
std::unique_ptr<Session> connect_or_tell(const Options& options, const Login& login) {
  try {
    return connect(options, login);
  } catch (const Failure&) {
    if (is_older_database(login)) {
      tell(options, {},
           {{"OlderVersion", "The database", "its tables are of an older version",
             "tarnwick upgrade"}});
    }
    throw;
  }
}

void check(const Options& options, std::chrono::minutes longest) {
  const Login login = login_of(options);
  const Load load = load_all(*connect_or_tell(options, login));
  const Findings findings = examine(options, login, load, longest);
  if (findings.empty() && !load.counts) refuse(load);
  tell(options, load, findings);
  if (findings.empty()) return;
  throw Failure(ExitCode::kFailed,
                findings.size() == 1 ? "1 finding." : fmt::format("{} findings.", findings.size()),
                load.account);
}

}  // namespace

void add_check_command(CLI::App& app, CommandLine& line) {
  const auto minutes = std::make_shared<std::int32_t>(60);
  add_command(
      app, line, "check",
      "Connects, loads everything and says how much it is. Tells what is wrong in the data, "
      "and which command mends it; then the exit code is 1.",
      "tarnwick check --held 15",
      [minutes](const Options& options) { check(options, std::chrono::minutes(*minutes)); })
      ->add_option("--held", *minutes, "tell of rows that have been held for so long (60); 0: all")
      ->type_name("MINUTES")
      ->check(CLI::Range(0, 1'000'000).description(""));
}

}  // namespace tarnwick::cli
