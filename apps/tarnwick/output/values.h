#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// The values of a record's attributes as texts and as JSON.

/// For people: UTF-8, dates as yyyy-mm-dd hh:mm:ss, enumerations by name, "" for what is not set.
[[nodiscard]] std::string display(const AttributeValue& value);

/// For machines: as display, but numbers and Booleans are JSON's own and no date is null.
[[nodiscard]] nlohmann::ordered_json to_json(const AttributeValue& value);

/// All attributes of the row.
[[nodiscard]] nlohmann::ordered_json to_json(const Row& row);

/// The value, of the same type as `like`, that `text` (UTF-8) stands for. Throws Failure (kUsage)
/// that begins with `name`.
[[nodiscard]] AttributeValue parse(std::string_view name, std::string_view text,
                                   const AttributeValue& like);

/// As parse, from what to_json makes.
[[nodiscard]] AttributeValue from_json(std::string_view name, const nlohmann::ordered_json& json,
                                       const AttributeValue& like);

/// All values of the same type as `like`, as they are written: yes and no, the names of an
/// enumeration; none for a text, a number or a date.
[[nodiscard]] std::vector<std::string_view> all_values(const AttributeValue& like);

/// What may be written for a value of the same type as `like`: "yes or no", the names of an
/// enumeration; empty for a text or a number.
[[nodiscard]] std::string choices(const AttributeValue& like);

}  // namespace tarnwick::cli
