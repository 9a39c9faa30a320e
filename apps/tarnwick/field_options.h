#pragma once

#include <CLI/CLI.hpp>
#include <list>
#include <string>
#include <utility>

#include "apps/tarnwick/fields.h"

namespace tarnwick::cli {

/// Switches that set the properties of a record, one for each field that has one.
template <class Row>
class FieldOptions final {
 public:
  /// Makes the switches known to `command`; this must outlive it.
  explicit FieldOptions(CLI::App& command) {
    for (const auto& field : fields_of(Row())) {
      if (field.option.empty()) continue;
      Given& given = given_.emplace_back(&field, nullptr, std::string());
      given.option =
          command.add_option(std::string(field.option), given.text, std::string(field.help))
              ->type_name(type_name(get(Row(), field)));
    }
  }

  [[nodiscard]] bool any() const {
    for (const Given& given : given_) {
      if (given.option->count() > 0) return true;
    }
    return false;
  }

  /// Sets what was given. Throws Failure (kUsage) for a value that cannot be read.
  void apply(Row& row) const {
    for (const auto& [field, option, text] : given_) {
      if (option->count() > 0) {
        set(row, *field, parse(field->option, text, get(row, *field)));
      }
    }
  }

 private:
  struct Given {
    Given(const Field<Row>* of, CLI::Option* by, std::string as)
        : field(of), option(by), text(std::move(as)) {}
    const Field<Row>* field;
    CLI::Option* option;
    std::string text;
  };

  static std::string type_name(const FieldValue& kind) {
    if (std::holds_alternative<Text>(kind)) return "TEXT";
    if (std::holds_alternative<Date>(kind)) return "DATE";
    if (std::holds_alternative<bool>(kind)) return "yes|no";
    if (std::holds_alternative<std::int16_t>(kind) || std::holds_alternative<std::int32_t>(kind)) {
      return "N";
    }
    return "NAME";
  }

  std::list<Given> given_;  // their addresses are bound to the switches
};

}  // namespace tarnwick::cli
