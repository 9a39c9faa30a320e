#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

struct Counts {
  std::size_t components = 0;
  std::size_t pcs = 0;
  std::size_t reports = 0;
};

// Fetches the rows: what cannot be had of them is told.
template <class Collection>
std::size_t count(const Proxy<Collection>& list) {
  auto rows = list.rows();
  fill_gaps(rows);
  return rows.size();
}

Counts load_all(const Session& session) {
  const Progress progress("Loading components, PCs and reports");
  const Proxy<Server>& server = session.server();
  session.clear_last_cause();
  const bool done = server.call<"Refresh">();
  const Text account = session.last_error_msg();
  if (!done || !account.empty()) {
    refuse_load("components, PCs and reports", session.last_cause(), account);
  }
  return {count(server.get<"Components">()), count(server.get<"RegisteredPCs">()),
          count(server.get<"Reports">())};
}

void check(const Options& options) {
  const Counts counts = load_all(*connect(options));
  if (options.json) {
    return print_json({{"Components", counts.components},
                       {"RegisteredPCs", counts.pcs},
                       {"Reports", counts.reports}});
  }
  fmt::print("Connected; loaded {} components, {} registered PCs and {} reports.\n",
             counts.components, counts.pcs, counts.reports);
}

}  // namespace

void add_check_command(CLI::App& app, CommandLine& line) {
  add_command(app, "check", "Connects, loads everything and says how much it is.")
      ->callback([&line] { line.chosen = [&line] { check(line.options); }; });
}

}  // namespace tarnwick::cli
