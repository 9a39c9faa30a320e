#include "apps/tarnwick/output/values.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <type_traits>
#include <vector>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/options.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

// The names of an enumeration's values; the value is the position.
template <class Enum>
constexpr std::array<std::string_view, 0> kNames{};
template <>
constexpr std::array<std::string_view, 6> kNames<MaintTypeEnum>{
    "NotDefined", "ServerReg", "Component", "ComponentWithPCs", "Report", "PCReg"};
template <>
constexpr std::array<std::string_view, 4> kNames<ReportCodeEnum>{"", "PC", "PCA", "CRY"};
template <>
constexpr std::array<std::string_view, 2> kNames<ReportTypesEnum>{"", "CRY"};

// What stands for a value without a name.
constexpr std::string_view kNone = "none";

// A value that no name stands for is shown as its number.
template <class Enum>
std::optional<std::string_view> name_of(Enum value) {
  const auto index = static_cast<std::size_t>(value);
  if (value < 0 || index >= kNames<Enum>.size()) return std::nullopt;
  return kNames<Enum>[index];
}

bool same_word(std::string_view a, std::string_view b) {
  return equals_ignoring_case(from_stored_utf8(a), from_stored_utf8(b));
}

[[noreturn]] void refuse(std::string_view name, std::string_view text, std::string_view wanted) {
  throw Failure(ExitCode::kUsage, fmt::format("{}: '{}' is not {}.", name, text, wanted));
}

template <class Number>
Number parse_number(std::string_view name, std::string_view text) {
  Number number = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) {
    refuse(name, text,
           fmt::format("a whole number from {} to {}", std::numeric_limits<Number>::min(),
                       std::numeric_limits<Number>::max()));
  }
  return number;
}

template <class Enum>
Enum parse_enum(std::string_view name, std::string_view text) {
  const auto& names = kNames<Enum>;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (same_word(text, names[i]) || (names[i].empty() && same_word(text, kNone))) {
      return static_cast<Enum>(i);
    }
  }
  std::string wanted;
  for (const std::string_view known : names) {
    wanted += fmt::format("{}{}", wanted.empty() ? "one of " : ", ", known.empty() ? kNone : known);
  }
  refuse(name, text, wanted);
}

bool parse_bool(std::string_view name, std::string_view text) {
  for (const std::string_view word : {"yes", "true", "1"}) {
    if (same_word(text, word)) return true;
  }
  for (const std::string_view word : {"no", "false", "0"}) {
    if (same_word(text, word)) return false;
  }
  refuse(name, text, "yes or no");
}

Date parse_date(std::string_view name, std::string_view text) {
  try {
    return date_from_iso_text(from_stored_utf8(text));
  } catch (const Error&) {
    refuse(name, text, "a date of the form yyyy-mm-dd or yyyy-mm-dd hh:mm:ss");
  }
}

}  // namespace

std::string display(const AttributeValue& value) {
  return std::visit(
      []<class T>(const T& held) -> std::string {
        if constexpr (std::is_same_v<T, Empty>) {
          return {};
        } else if constexpr (std::is_same_v<T, Text>) {
          return to_display_utf8(held);
        } else if constexpr (std::is_same_v<T, bool>) {
          return held ? "yes" : "no";
        } else if constexpr (std::is_same_v<T, Date>) {
          // A stored number may lie outside the calendar; it is shown as it is.
          return is_in_calendar(held) ? to_utf8(to_iso_text(held)) : fmt::format("{}", held.days);
        } else if constexpr (std::is_enum_v<T>) {
          const auto name = name_of(held);
          return name ? std::string(*name) : fmt::format("{}", static_cast<std::int32_t>(held));
        } else {
          return fmt::format("{}", held);
        }
      },
      value);
}

nlohmann::ordered_json to_json(const AttributeValue& value) {
  return std::visit(
      [&]<class T>(const T& held) -> nlohmann::ordered_json {
        if constexpr (std::is_same_v<T, Empty>) {
          return nullptr;
        } else if constexpr (std::is_same_v<T, Date>) {
          if (held.is_zero()) return nullptr;
          return display(value);
        } else if constexpr (std::is_same_v<T, Text>) {
          return display(value);
        } else if constexpr (std::is_enum_v<T>) {
          if (name_of(held)) return display(value);
          return static_cast<std::int32_t>(held);
        } else {
          return held;
        }
      },
      value);
}

AttributeValue parse(std::string_view name, std::string_view text, const AttributeValue& like) {
  return std::visit(
      [&]<class T>(const T&) -> AttributeValue {
        if constexpr (std::is_same_v<T, Empty> || std::is_same_v<T, Text>) {
          return text_argument(text, fmt::format("{}: the text", name));
        } else if constexpr (std::is_same_v<T, bool>) {
          return parse_bool(name, text);
        } else if constexpr (std::is_same_v<T, Date>) {
          return parse_date(name, text);
        } else if constexpr (std::is_enum_v<T>) {
          return parse_enum<T>(name, text);
        } else {
          return parse_number<T>(name, text);
        }
      },
      like);
}

AttributeValue from_json(std::string_view name, const nlohmann::ordered_json& json,
                         const AttributeValue& like) {
  if (json == to_json(like)) return like;
  if (json.is_null() && std::holds_alternative<Date>(like)) return Date{};
  if (!json.is_string() && std::holds_alternative<Text>(like)) refuse(name, json.dump(), "a text");
  if (json.is_string()) return parse(name, json.get_ref<const std::string&>(), like);
  return parse(name, json.dump(), like);
}

nlohmann::ordered_json to_json(const Row& row) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const Attribute& attribute : row.attributes()) {
    json[std::string(attribute.name())] = to_json(row[attribute]);
  }
  return json;
}

std::vector<std::string_view> all_values(const AttributeValue& like) {
  return std::visit(
      []<class T>(const T&) -> std::vector<std::string_view> {
        std::vector<std::string_view> values;
        if constexpr (std::is_same_v<T, bool>) {
          values = {"yes", "no"};
        } else if constexpr (std::is_enum_v<T>) {
          for (const std::string_view name : kNames<T>) {
            if (!name.empty()) values.push_back(name);
          }
          if (values.size() < kNames<T>.size()) values.push_back(kNone);
        }
        return values;
      },
      like);
}

std::string choices(const AttributeValue& like) {
  if (std::holds_alternative<Date>(like)) return "yyyy-mm-dd [hh:mm:ss]";
  std::vector<std::string_view> values = all_values(like);
  if (values.empty()) return {};
  const std::string_view last = values.back();
  values.pop_back();
  return fmt::format("{} or {}", fmt::join(values, ", "), last);
}

}  // namespace tarnwick::cli
