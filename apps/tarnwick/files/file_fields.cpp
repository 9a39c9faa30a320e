#include "apps/tarnwick/files/file_fields.h"

#include <fmt/format.h>

#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <type_traits>
#include <vector>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/output/values.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

template <class Record>
std::vector<FileField> make_fields() {
  std::vector<FileField> values;
  std::vector<FileField> files;
  for (const Attribute& attribute : client::attributes_of(automation::kClassOf<Record>)) {
    if (attribute.form == Form::kRowVersion || attribute.name() == "SoftLock") continue;
    const bool ttx = attribute.form == Form::kOwn;
    (ttx ? files : values)
        .push_back({to_utf8(attribute.column),
                    ttx ? FileField::Kind::kTtx : FileField::Kind::kValue, &attribute});
  }
  for (const TextView column : Properties<Record>::kMoreColumns) {
    files.push_back({to_utf8(column), FileField::Kind::kReportFile, nullptr});
  }
  values.insert(values.end(), files.begin(), files.end());
  return values;
}

// Numbers that stand for nothing but themselves, in files as in their columns.
template <class T>
constexpr bool kIsNumber = std::is_same_v<T, std::int16_t> || std::is_same_v<T, std::int32_t> ||
                           std::is_same_v<T, MaintTypeEnum>;
template <class T>
using NumberOf = std::conditional_t<std::is_enum_v<T>, std::int32_t, T>;

template <class T>
std::optional<T> number_in(const std::string& text) {
  T number{};
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return number;
}

[[noreturn]] void refuse(const Json& value, const std::string& wanted) {
  constexpr std::size_t kLongest = 60;
  std::string shown = value.dump(-1, ' ', true);
  if (shown.size() > kLongest) shown = shown.substr(0, kLongest) + "...";
  throw BadValue(fmt::format("is {}, but must be {}", shown, wanted));
}

template <class T>
T number_of(const Json& value) {
  using Limits = std::numeric_limits<NumberOf<T>>;
  const bool whole = value.is_number_integer() &&
                     (!value.is_number_unsigned() ||
                      value.get<std::uint64_t>() <= static_cast<std::uint64_t>(Limits::max()));
  if (!whole || value.get<std::int64_t>() < Limits::min() ||
      value.get<std::int64_t>() > Limits::max()) {
    refuse(value, fmt::format("a whole number from {} to {}", Limits::min(), Limits::max()));
  }
  return static_cast<T>(value.get<NumberOf<T>>());
}

Json date_value(const Date& date) {
  // A stored number may lie outside the calendar.
  if (!is_in_calendar(date)) return date.days;
  const Text text = to_iso_text(date);
  if (text.empty() || date_from_iso_text(text).is_zero()) return nullptr;
  return to_utf8(text);
}

AttributeValue named_value(const Attribute& attribute, const Json& value,
                           const std::string& wanted) {
  if (!value.is_string()) refuse(value, wanted);
  try {
    return parse("", value.get_ref<const std::string&>(), attribute.zero);
  } catch (const Failure&) {
    refuse(value, wanted);
  }
}

}  // namespace

std::span<const Document, kDocumentCount> documents() {
  using enum automation::ClassId;
  static constexpr std::array<Document, kDocumentCount> kAll{
      {{kComponent, "components", Properties<Component>::kTable},
       {kRegisteredPC, "pcs", Properties<RegisteredPC>::kTable},
       {kReport, "reports", Properties<Report>::kTable}}};
  return kAll;
}

std::span<const FileField> file_fields(automation::ClassId record_class) {
  static const std::vector<FileField> components = make_fields<Component>();
  static const std::vector<FileField> pcs = make_fields<RegisteredPC>();
  static const std::vector<FileField> reports = make_fields<Report>();
  if (record_class == automation::ClassId::kComponent) return components;
  return record_class == automation::ClassId::kReport ? reports : pcs;
}

Json to_file_value(const AttributeValue& value) {
  return std::visit(
      []<class T>(const T& held) -> Json {
        if constexpr (std::is_same_v<T, Empty>) {
          return nullptr;
        } else if constexpr (std::is_same_v<T, Text>) {
          return to_utf8(held);
        } else if constexpr (std::is_same_v<T, Date>) {
          return date_value(held);
        } else if constexpr (kIsNumber<T>) {
          return static_cast<NumberOf<T>>(held);
        } else if constexpr (std::is_same_v<T, bool>) {
          return held;
        } else {
          return display(held);
        }
      },
      value);
}

std::string to_cell(const Json& value) {
  if (value.is_null()) return {};
  return value.is_string() ? value.get<std::string>() : value.dump();
}

AttributeValue from_file_value(const Attribute& attribute, const Json& value) {
  if (value.is_null()) return Empty();
  return std::visit(
      [&]<class T>(const T&) -> AttributeValue {
        if constexpr (std::is_same_v<T, Text>) {
          if (!value.is_string()) refuse(value, "a text");
          return from_utf8(value.get_ref<const std::string&>());
        } else if constexpr (std::is_same_v<T, bool>) {
          if (!value.is_boolean()) refuse(value, "true or false");
          return value.get<bool>();
        } else if constexpr (std::is_same_v<T, Date>) {
          if (value.is_number()) return Date{value.get<double>()};
          return named_value(attribute, value, "of the form yyyy-mm-dd or yyyy-mm-dd hh:mm:ss");
        } else if constexpr (kIsNumber<T>) {
          return number_of<T>(value);
        } else if constexpr (std::is_enum_v<T>) {
          return named_value(attribute, value, choices(attribute.zero));
        } else {
          return Empty();
        }
      },
      attribute.zero);
}

Json from_cell(const Attribute& attribute, const std::string& cell) {
  if (cell.empty()) return nullptr;
  return std::visit(
      [&]<class T>(const T&) -> Json {
        if constexpr (std::is_same_v<T, bool>) {
          try {
            return std::get<bool>(parse("", cell, true));
          } catch (const Failure&) {
            return cell;
          }
        } else if constexpr (std::is_same_v<T, Date>) {
          if (const auto days = number_in<double>(cell)) return *days;
          return cell;
        } else if constexpr (kIsNumber<T>) {
          if (const auto number = number_in<std::int64_t>(cell)) return *number;
          return cell;
        } else {
          return cell;
        }
      },
      attribute.zero);
}

void read_nulls(Row& row) {
  for (const FileField& field : file_fields(row.record_class())) {
    if (field.kind != FileField::Kind::kValue) continue;
    if (std::holds_alternative<Empty>(row[*field.attribute])) {
      row.set(*field.attribute, field.attribute->null);
    }
  }
}

}  // namespace tarnwick::cli
