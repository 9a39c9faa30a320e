#include "apps/tarnwick/commands/value_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <array>
#include <string_view>
#include <utility>

#include "apps/tarnwick/completion/values.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/switches.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/output/values.h"
#include "platform/file_system.h"

namespace tarnwick::cli {
namespace {

// The long texts, and what help calls them.
constexpr std::array<std::pair<std::string_view, std::string_view>, 2> kInFiles{
    {{"SQL", "statement"}, {"Definition", "definition"}}};

std::string type_name(const AttributeValue& like) {
  if (std::holds_alternative<Text>(like)) return "TEXT";
  if (std::holds_alternative<Date>(like)) return "DATE";
  if (std::holds_alternative<bool>(like)) return "yes|no";
  if (std::holds_alternative<std::int16_t>(like) || std::holds_alternative<std::int32_t>(like)) {
    return "N";
  }
  return "NAME";
}

std::string help(const Attribute& attribute) {
  const std::string wanted = choices(attribute.zero);
  return wanted.empty() ? std::string(attribute.description)
                        : fmt::format("{} ({})", attribute.description, wanted);
}

}  // namespace

void ValueOptions::add_options(CLI::App& command) {
  for (const Attribute& attribute : client::attributes_of(record_class_)) {
    std::string name = switch_of(attribute);
    if (name.empty()) continue;
    Given& given = given_.emplace_back(Given{&attribute, std::move(name)});
    given.option = command.add_option(given.name, given.text, help(attribute))
                       ->type_name(type_name(attribute.zero));
    if (const auto values = all_values(attribute.zero); !values.empty()) {
      note_values(*given.option, {values.begin(), values.end()});
    }
  }
  for (const auto& [name, what] : kInFiles) {
    const Attribute* attribute = client::find_attribute(record_class_, name);
    if (attribute == nullptr) continue;
    const std::string its_switch = switch_of(*attribute);
    command
        .add_option(its_switch + "-file", given_by_file_.emplace_back(GivenByFile{attribute}).file,
                    fmt::format("take the {} from this file (UTF-8)", what))
        ->type_name("FILE")
        ->excludes(its_switch);
  }
}

Row ValueOptions::given() const {
  Row row(record_class_);
  for (const Given& given : given_) {
    if (given.option->count() == 0) continue;
    row.set(*given.attribute, parse(given.name, given.text, given.attribute->zero));
  }
  for (const GivenByFile& given : given_by_file_) {
    if (!given.file.empty())
      row.set(*given.attribute,
              text_argument(content_of(platform::path_from_utf8(given.file), ExitCode::kUsage)));
  }
  return row;
}

}  // namespace tarnwick::cli
