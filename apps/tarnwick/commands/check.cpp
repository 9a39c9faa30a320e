#include <fmt/format.h>

#include <array>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

// Fetches the rows: what cannot be had of them is told.
template <class Collection>
std::size_t count(const Proxy<Collection>& list) {
  auto rows = list.rows();
  fill_gaps(rows);
  return rows.size();
}

// The numbers of components, PCs and reports.
std::array<std::size_t, 3> load_all(const Session& session) {
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
  const auto [components, pcs, reports] = load_all(*connect(options));
  if (options.json) {
    return print_json({{"Components", components}, {"RegisteredPCs", pcs}, {"Reports", reports}});
  }
  fmt::print("Connected; loaded {} components, {} registered PCs and {} reports.\n", components,
             pcs, reports);
}

}  // namespace

void add_check_command(CLI::App& app, CommandLine& line) {
  add_command(app, line, "check", "Connects, loads everything and says how much it is.", "", check);
}

}  // namespace tarnwick::cli
