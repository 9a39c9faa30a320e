#include "apps/tarnwick/terminal/editing.h"

#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/switches.h"
#include "apps/tarnwick/output/values.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "platform/reading_program.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string editor() {
  for (const char* name : {"VISUAL", "EDITOR"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return platform::usual_editor();
}

Json editable(const Row& row) {
  Json json = Json::object();
  for (const Attribute& attribute : row.attributes()) {
    if (!switch_of(attribute).empty())
      json[std::string(attribute.name())] = to_json(row[attribute]);
  }
  return json;
}

void take_over(Row& row, const Json& edited) {
  for (const auto& [name, value] : edited.items()) {
    const Attribute* attribute = client::find_attribute(row.record_class(), name);
    if (attribute == nullptr || switch_of(*attribute).empty()) {
      throw Failure(ExitCode::kFailed, fmt::format("'{}' is no field that can be set.", name));
    }
    row.set(*attribute, from_json(name, value, row[*attribute]));
  }
}

}  // namespace

void edit_row(Row& row) {
  const Json before = editable(row);
  const ScratchFolder scratch;
  const std::filesystem::path file = scratch.path() / "record.json";
  std::ofstream(file) << before.dump(2) << '\n';
  if (!platform::run_editor(editor(), file)) {
    throw Failure(ExitCode::kFailed, fmt::format("The editor '{}' failed.", editor()));
  }
  std::ifstream stream(file);
  const Json after = Json::parse(stream, nullptr, false);
  if (!after.is_object()) {
    throw Failure(ExitCode::kFailed, "What was edited is not JSON any more; nothing was written.");
  }
  if (after == before) throw Failure(ExitCode::kFailed, "Nothing was changed.");
  take_over(row, after);
}

}  // namespace tarnwick::cli
