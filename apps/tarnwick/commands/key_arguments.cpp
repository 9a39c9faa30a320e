#include "apps/tarnwick/commands/key_arguments.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/completion/values.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/output/table.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

using PC = RegisteredPC;

CLI::Range id_range() { return {0, 32767}; }

}  // namespace

CLI::Option* add_component_option(CLI::App& command, std::optional<std::int16_t>& id,
                                  const std::string& help) {
  return command.add_option("--component", id, help)->type_name("ID")->check(id_range());
}

void KeyArguments::add_options(CLI::App& command) {
  if (record_class_ == ClassId::kComponent) {
    command.add_option("ID", component_, "the component's id")->required()->check(id_range());
  } else if (record_class_ == ClassId::kReport) {
    note_report(*command.add_option("NAME", name_, "the report's name")->required());
  } else {
    command.add_option("COMPUTER", name_, "the PC's computer id, or its MAC number")->required();
    add_component_option(command, component_, "the component, where the PC uses several");
    command.add_option("--mac", mac_, "its MAC number, where several PCs have one computer id")
        ->type_name("MAC");
  }
}

Row KeyArguments::given() const {
  if (record_class_ == ClassId::kReport) return report_key(name_);
  Row row(record_class_);
  if (record_class_ == ClassId::kComponent) {
    row.set<Component, "CompID">(*component_);
  } else {
    row.set<PC, "ComputerID">(text_argument(name_));
    if (!mac_.empty()) row.set<PC, "MACNumber">(text_argument(mac_));
    if (component_) row.set<PC, "CompID">(*component_);
  }
  require_plain_key(row);
  return row;
}

Row report_key(const std::string& name) {
  Row row = Row::of<Report>();
  row.set<Report, "Name">(text_argument(name));
  if (name.empty()) throw Failure(ExitCode::kUsage, "The name of the report is empty.");
  require_plain_key(row);
  return row;
}

Row pc_key(const PcKey& key) {
  Row row = Row::of<PC>();
  row.set<PC, "MACNumber">(key.mac_number);
  row.set<PC, "ComputerID">(key.computer_id);
  row.set<PC, "CompID">(key.comp_id);
  return row;
}

Row find_key(const Session& session, const Row& given) {
  if (given.record_class() != ClassId::kRegisteredPC) return given;
  const Text* const mac = given.find<PC, "MACNumber">();
  const std::int16_t* const component = given.find<PC, "CompID">();
  if (mac != nullptr && component != nullptr) return given;
  const Text& computer = given.get<PC, "ComputerID">();
  auto found = session.transport().find_pcs(computer);
  std::erase_if(found, [&](const PcKey& key) {
    return (component != nullptr && key.comp_id != *component) ||
           (mac != nullptr && !equals_ignoring_case(key.mac_number, *mac));
  });
  if (found.size() == 1) return pc_key(found.front());
  if (found.empty()) {
    throw Failure(
        ExitCode::kMissing,
        fmt::format("No PC '{}'{} is registered.", printable(computer),
                    component != nullptr ? fmt::format(" of component {}", *component) : ""));
  }
  std::string candidates;
  for (const PcKey& key : found) candidates += "\n  " + describe(pc_key(key));
  throw Failure(ExitCode::kUsage,
                fmt::format("Which one? Say so by --component or --mac.{}", candidates));
}

}  // namespace tarnwick::cli
