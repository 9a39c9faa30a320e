#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "apps/tarnwick/commands.h"
#include "apps/tarnwick/connect.h"
#include "apps/tarnwick/loading.h"
#include "apps/tarnwick/progress.h"
#include "apps/tarnwick/telling.h"

namespace tarnwick::cli {
namespace {

struct Counts {
  std::size_t components = 0;
  std::size_t pcs = 0;
  std::size_t reports = 0;
};

Counts load_all(Client& client) {
  const Progress progress("Loading components, PCs and reports");
  client.clear_last_cause();
  const bool done = client.refresh();
  const Text account = client.last_error_msg();
  if (!done || !account.empty()) {
    refuse_load("components, PCs and reports", client.last_cause(), account);
  }
  return {client.components().size(), client.pcs().size(), client.reports().size()};
}

void check(const Options& options) {
  const auto client = connect(options);
  const Counts counts = load_all(*client);
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
