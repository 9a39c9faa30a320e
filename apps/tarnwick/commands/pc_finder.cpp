#include "apps/tarnwick/commands/pc_finder.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/output/table.h"
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

Row pc_key(const Text& mac_number, const Text& computer_id, std::int16_t comp_id) {
  Row key = Row::of<RegisteredPC>();
  key.set<RegisteredPC, "MACNumber">(mac_number);
  key.set<RegisteredPC, "ComputerID">(computer_id);
  key.set<RegisteredPC, "CompID">(comp_id);
  return key;
}

Row find_key(const Session& session, const WantedPc& wanted) {
  if (!wanted.mac.empty() && wanted.component) {
    return pc_key(wanted.mac, wanted.computer, *wanted.component);
  }
  auto found = session.transport().find_pcs(wanted.computer);
  std::erase_if(found, [&](const PcKey& key) {
    return (wanted.component && key.comp_id != *wanted.component) ||
           (!wanted.mac.empty() && !equals_ignoring_case(key.mac_number, wanted.mac));
  });
  const auto to_row = [](const PcKey& key) {
    return pc_key(key.mac_number, key.computer_id, key.comp_id);
  };
  if (found.size() == 1) return to_row(found.front());
  if (found.empty()) {
    throw Failure(
        ExitCode::kMissing,
        fmt::format("No PC '{}'{} is registered.", printable(to_display_utf8(wanted.computer)),
                    wanted.component ? fmt::format(" of component {}", *wanted.component) : ""));
  }
  std::string candidates;
  for (const PcKey& key : found) candidates += "\n  " + describe(to_row(key));
  throw Failure(ExitCode::kUsage,
                fmt::format("Which one? Say so by --component or --mac.{}", candidates));
}

}  // namespace tarnwick::cli
