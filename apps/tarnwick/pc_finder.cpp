#include "apps/tarnwick/pc_finder.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {

void PcArguments::add_options(CLI::App& command) {
  command.add_option("COMPUTER", computer_, "the PC's computer id, or its MAC number")->required();
  command.add_option("--component", component_, "the component, where the PC uses several")
      ->type_name("ID")
      ->check(CLI::Range(0, 32767));
  command.add_option("--mac", mac_, "its MAC number, where several PCs have one computer id")
      ->type_name("MAC");
}

WantedPc PcArguments::wanted() const {
  WantedPc wanted{text_argument(computer_), text_argument(mac_), component_};
  require_plain_key_part(wanted.computer);
  require_plain_key_part(wanted.mac);
  return wanted;
}

PcRow find_key(Client& client, const WantedPc& wanted) {
  if (!wanted.mac.empty() && wanted.component) {
    PcRow key;
    key.mac_number = wanted.mac;
    key.computer_id = wanted.computer;
    key.comp_id = *wanted.component;
    return key;
  }
  auto found = client.find_pcs(wanted.computer);
  std::erase_if(found, [&](const PcRow& row) {
    return (wanted.component && row.comp_id != *wanted.component) ||
           (!wanted.mac.empty() && !equals_ignoring_case(row.mac_number, wanted.mac));
  });
  if (found.size() == 1) return found.front();
  if (found.empty()) {
    throw Failure(
        ExitCode::kMissing,
        fmt::format("No PC '{}'{} is registered.", printable(to_display_utf8(wanted.computer)),
                    wanted.component ? fmt::format(" of component {}", *wanted.component) : ""));
  }
  std::string candidates;
  for (const PcRow& row : found) candidates += "\n  " + describe(row);
  throw Failure(ExitCode::kUsage,
                fmt::format("Which one? Say so by --component or --mac.{}", candidates));
}

}  // namespace tarnwick::cli
