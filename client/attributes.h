#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <span>
#include <string_view>
#include <tuple>
#include <variant>

#include "automation/members.h"

namespace tarnwick::client {

/// The value of one attribute of a record; Empty while it is not known.
using AttributeValue = std::variant<Empty, Text, std::int16_t, std::int32_t, bool, Date,
                                    MaintTypeEnum, ReportCodeEnum, ReportTypesEnum>;

/// A property of a record class as a part of its rows.
struct Attribute {
  const automation::Member* member = nullptr;  // as clients know it
  std::string_view description;
  TextView column;        // that it is read from
  AttributeValue zero;    // of its type
  AttributeValue null;    // what Null in the column is read as; Empty where that is an error
  bool key = false;       // a part of what names the record
  bool stored = false;    // goes into the row when the record is written
  bool settable = false;  // by clients, on a record object
  Form form = Form::kPlain;

  [[nodiscard]] std::string_view name() const { return member->name; }
};

/// Those of a record class: the stored ones in the order of writing, then the other ones that are
/// read, in the order of the table. None for the other classes.
[[nodiscard]] std::span<const Attribute> attributes_of(automation::ClassId record_class);

/// The attribute with exactly this name, or null.
[[nodiscard]] const Attribute* find_attribute(automation::ClassId record_class,
                                              std::string_view name);

/// The value as members take and give it. `value` is not Empty.
[[nodiscard]] automation::Value to_member_value(const AttributeValue& value);
/// The value of the attribute that its member gave. Throws Error 13 for one of another type.
[[nodiscard]] AttributeValue from_member_value(const Attribute& attribute, automation::Value value);

// The places of the rows of the table in the orders of writing and of reading.
template <class Record>
inline constexpr auto kWritten = property_order::places<Record, property_order::InWriting>();
template <class Record>
inline constexpr auto kRead = property_order::places<Record, property_order::InReading>();

/// Which rows of the table the attributes come from, in their order.
template <class Record>
consteval auto attribute_rows() {
  constexpr auto kTable = [] {
    std::array<std::size_t, kWritten<Record>.size()> table{};
    std::iota(table.begin(), table.end(), std::size_t{0});
    return table;
  }();
  constexpr auto kIsOne = [](std::size_t row) {
    return kWritten<Record>[row] != 0 || kRead<Record>[row] != 0;
  };
  std::array<std::size_t, std::ranges::count_if(kTable, kIsOne)> rows{};
  std::ranges::copy_if(kTable, rows.begin(), kIsOne);
  std::ranges::sort(rows, {}, [](std::size_t row) {
    return std::tuple(kWritten<Record>[row] == 0, kWritten<Record>[row], row);
  });
  return rows;
}

/// The place of an attribute among those of its class; their number where there is none.
template <class Record>
consteval std::size_t place_of_attribute(std::string_view name) {
  constexpr auto kRows = attribute_rows<Record>();
  constexpr auto kNames = std::apply([](const auto&... rows) { return std::array{rows.name...}; },
                                     Properties<Record>::kAll);
  std::size_t place = 0;
  while (place < kRows.size() && kNames[kRows[place]] != name) ++place;
  return place;
}

template <class Record, Name kName>
concept HasAttribute = place_of_attribute<Record>(kName.view())
< attribute_rows<Record>().size();

/// The C++ type of an attribute.
template <class Record, Name kName>
requires HasAttribute<Record, kName>
using AttributeType = typename std::tuple_element_t<
    attribute_rows<Record>()[place_of_attribute<Record>(kName.view())],
    std::remove_cv_t<decltype(Properties<Record>::kAll)>>::Value;

}  // namespace tarnwick::client
