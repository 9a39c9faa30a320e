#include "apps/tarnwick/commands/value_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "apps/tarnwick/maintenance/switches.h"
#include "apps/tarnwick/output/values.h"

namespace tarnwick::cli {
namespace {

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

ValueOptions::ValueOptions(CLI::App& command, automation::ClassId record_class)
    : record_class_(record_class) {
  for (const Attribute& attribute : client::attributes_of(record_class)) {
    std::string name = switch_of(attribute);
    if (name.empty()) continue;
    Given& given = given_.emplace_back(&attribute, std::move(name));
    given.option = command.add_option(given.name, given.text, help(attribute))
                       ->type_name(type_name(attribute.zero));
  }
}

Row ValueOptions::given() const {
  Row row(record_class_);
  for (const Given& given : given_) {
    if (given.option->count() == 0) continue;
    row.set(*given.attribute, parse(given.name, given.text, given.attribute->zero));
  }
  return row;
}

}  // namespace tarnwick::cli
