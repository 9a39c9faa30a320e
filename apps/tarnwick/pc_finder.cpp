#include "apps/tarnwick/pc_finder.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/loading.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {

void PcFinder::add_options(CLI::App& command) {
  command.add_option("COMPUTER", computer_, "the PC's computer id, or its MAC number")->required();
  command.add_option("--component", component_, "the component, where the PC uses several")
      ->type_name("ID")
      ->check(CLI::Range(0, 32767));
  command.add_option("--mac", mac_, "its MAC number, where several PCs have one computer id")
      ->type_name("MAC");
}

PcRow PcFinder::find(Client& client) const {
  const Text computer = text_argument(computer_);
  const Text mac = text_argument(mac_);
  if (!mac.empty() && component_) {
    PcRow key;
    key.mac_number = mac;
    key.computer_id = computer;
    key.comp_id = *component_;
    return key;
  }
  auto loaded = load_pcs(client);
  std::erase_if(loaded.rows, [&](const PcRow& row) {
    const bool named = equals_ignoring_case(row.computer_id, computer) ||
                       equals_ignoring_case(row.mac_number, computer);
    return !named || (component_ && row.comp_id != *component_) ||
           (!mac.empty() && !equals_ignoring_case(row.mac_number, mac));
  });
  if (loaded.rows.size() == 1) return key_of(loaded.rows.front());
  if (loaded.rows.empty()) {
    require_complete(loaded);
    throw Failure(ExitCode::kMissing,
                  fmt::format("No PC '{}'{} is registered.", printable(computer_),
                              component_ ? fmt::format(" of component {}", *component_) : ""));
  }
  std::string candidates;
  for (const PcRow& row : loaded.rows) candidates += "\n  " + describe(row);
  throw Failure(ExitCode::kUsage,
                fmt::format("Which one? Say so by --component or --mac.{}", candidates));
}

}  // namespace tarnwick::cli
