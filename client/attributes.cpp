#include "client/attributes.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "runtime/error.h"

namespace tarnwick::client {
namespace {

template <class Value>
AttributeValue value_of_null(const Nulls& nulls, Form form) {
  if (form == Form::kOwn) return Value();
  if (nulls.refused) return Empty();
  if constexpr (std::is_arithmetic_v<Value> || std::is_enum_v<Value>) {
    return static_cast<Value>(nulls.value);
  } else {
    return Value();
  }
}

template <class Record>
std::vector<Attribute> make_attributes() {
  std::vector<Attribute> made;
  const automation::Class& of = automation::class_of(automation::kClassOf<Record>);
  const auto add = [&]<auto kGet, auto kSet>(const Property<kGet, kSet>& property) {
    using Value = typename Property<kGet, kSet>::Value;
    made.push_back({.member = automation::find_member(of, property.name),
                    .description = property.description,
                    .column = property.reading.column,
                    .zero = Value(),
                    .null = value_of_null<Value>(property.reading.nulls, property.form),
                    .key = property.key,
                    .stored = property.writing.place != 0,
                    .settable = property.access == Access::kReadWrite,
                    .form = property.form});
  };
  constexpr auto kRows = attribute_rows<Record>();
  [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    (add(std::get<kRows[kIndex]>(Properties<Record>::kAll)), ...);
  }
  (std::make_index_sequence<kRows.size()>());
  return made;
}

}  // namespace

std::span<const Attribute> attributes_of(automation::ClassId record_class) {
  static const std::vector<Attribute> components = make_attributes<Component>();
  static const std::vector<Attribute> pcs = make_attributes<RegisteredPC>();
  static const std::vector<Attribute> reports = make_attributes<Report>();
  switch (record_class) {
    case automation::ClassId::kComponent:
      return components;
    case automation::ClassId::kRegisteredPC:
      return pcs;
    case automation::ClassId::kReport:
      return reports;
    default:
      return {};
  }
}

const Attribute* find_attribute(automation::ClassId record_class, std::string_view name) {
  const auto all = attributes_of(record_class);
  const auto found = std::ranges::find(all, name, &Attribute::name);
  return found == all.end() ? nullptr : &*found;
}

automation::Value to_member_value(const AttributeValue& value) {
  return std::visit(
      []<class T>(const T& held) -> automation::Value {
        if constexpr (std::is_enum_v<T>) {
          return static_cast<std::int32_t>(held);
        } else {
          return held;
        }
      },
      value);
}

AttributeValue from_member_value(const Attribute& attribute, automation::Value value) {
  return std::visit(
      [&]<class T>(const T&) -> AttributeValue {
        using Held = std::conditional_t<std::is_enum_v<T>, std::int32_t, T>;
        Held* held = std::get_if<Held>(&value);
        if (held == nullptr) throw Error(ErrorNumber::kTypeMismatch);
        return static_cast<T>(std::move(*held));
      },
      attribute.zero);
}

}  // namespace tarnwick::client
