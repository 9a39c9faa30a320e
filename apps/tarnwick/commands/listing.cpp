#include "apps/tarnwick/commands/listing.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/maintenance/switches.h"
#include "apps/tarnwick/output/values.h"

namespace tarnwick::cli {
namespace {

std::vector<std::string> sortable(ClassId record_class, const std::vector<std::string>& more) {
  std::vector<std::string> names;
  for (const Attribute& attribute : client::attributes_of(record_class)) {
    names.emplace_back(attribute.name());
  }
  names.insert(names.end(), more.begin(), more.end());
  return names;
}

std::string type_name(const Attribute& attribute) {
  return std::holds_alternative<std::int16_t>(attribute.zero) ? "ID" : "NAME";
}

}  // namespace

void add_csv(CLI::App& command, CommandLine& line) {
  CLI::App* program = &command;
  while (program->get_parent() != nullptr) program = program->get_parent();
  command.add_flag("--csv", line.options.csv, "print CSV (RFC 4180), for spreadsheets")
      ->excludes(program->get_option("--json"));
}

Listing::Listing(ClassId record_class, const std::vector<std::string>& more)
    : order_(sortable(record_class, more)), wanted_(record_class) {}

void Listing::add_options(CLI::App& command, CommandLine& line) {
  order_.add_options(command);
  add_csv(command, line);
}

void Listing::add_filter(CLI::App& command, std::string_view attribute, const std::string& help,
                         std::string name) {
  const Attribute& filtered = *client::find_attribute(wanted_.record_class(), attribute);
  if (name.empty()) name = switch_of(filtered);
  command
      .add_option_function<std::string>(
          name,
          [this, name, &filtered](const std::string& text) {
            try {
              wanted_.set(filtered, parse(name, text, filtered.zero));
            } catch (const Failure& failure) {
              throw CLI::ValidationError(failure.what());
            }
          },
          help)
      ->type_name(type_name(filtered));
}

bool Listing::wants(const Row& row) const {
  return std::ranges::all_of(row.attributes(), [&](const Attribute& attribute) {
    const AttributeValue& wanted = wanted_[attribute];
    return std::holds_alternative<Empty>(wanted) || same_value(row[attribute], wanted);
  });
}

void Listing::show(const Options& options, Loaded loaded, const Columns& first,
                   const Columns& without, const std::vector<MoreColumn>& more) const {
  std::erase_if(loaded.rows, [&](const Row& row) { return !wants(row); });
  order_.apply(loaded.rows, [&](std::size_t column, std::size_t line) -> SortKey {
    const Row& row = loaded.rows[line];
    const auto attributes = row.attributes();
    if (column < attributes.size()) return sort_key(row[attributes[column]]);
    const auto number = more[column - attributes.size()].of(row);
    return number ? SortKey(static_cast<double>(*number)) : SortKey();
  });
  list(options, wanted_.record_class(), loaded, first, without, more);
}

}  // namespace tarnwick::cli
