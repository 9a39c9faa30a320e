#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "runtime/name.h"
#include "runtime/text.h"

namespace tarnwick {

// A property of a record class is declared once, as a row of Properties<Record>::kAll: the table
// from which the loading, the writing, the members that clients see, the columns that a database
// must have and the fields of the command line follow.

/// What clients may do with a property.
enum class Access : std::uint8_t { kRead, kReadWrite };

/// How the column holds the property's value.
enum class Form : std::uint8_t {
  kPlain,       // as the type says; see column_values.h
  kAsText,      // a number that is read by way of its text
  kRowVersion,  // eight bytes, read as the text of a row version
  kOwn,         // bytes, each a character; the record class reads and writes it itself
};

/// What Null in the column becomes: error 94, or a value (of a text or a date: the empty one).
struct Nulls {
  bool refused = true;
  std::int16_t value = 0;
};
inline constexpr Nulls kNotNull{};
inline constexpr Nulls kNullIsEmpty{false, 0};
[[nodiscard]] constexpr Nulls null_is(std::int16_t value) { return {false, value}; }

/// How a property comes out of its column.
struct Reading {
  TextView column;
  int place = 0;  // in the order of reading, from 1; 0: never read
  Nulls nulls = kNotNull;
};

/// How a property goes into its column.
struct Writing {
  TextView column = {};  // in the letter case that traces show
  int place = 0;         // in the order of writing, from 1; 0: never written
};

inline constexpr bool kPartOfKey = true;
inline constexpr bool kNoKey = false;

/// One row of the table. `kGetter` is the record's public member function; `kSetter` the one that
/// takes a new value, or the data member where a change only has to be noticed, or null.
template <auto kGetter, auto kSetter>
struct Property {
  static constexpr auto kGet = kGetter;
  static constexpr auto kSet = kSetter;
  template <class Record, class Result>
  static std::remove_cvref_t<Result> value_of(Result (Record::*)() const);
  using Value = decltype(value_of(kGetter));

  /// As clients know it, and its place among the members of the class: the dispatch id.
  std::string_view name;
  int id;
  Access access;
  Reading reading;
  Writing writing;
  /// What it says, for people.
  std::string_view description;
  bool key = kNoKey;  // whether it is a part of what names the record
  Form form = Form::kPlain;
};

/// Specialised by each record class, beside it: the name of its table, the rows, and the columns
/// that are no properties. In the order in which listings and missing columns are told.
template <class Record>
struct Properties;

namespace property_order {

struct InReading {
  static constexpr int of(const auto& row) { return row.reading.place; }
};
struct InWriting {
  static constexpr int of(const auto& row) { return row.writing.place; }
};

template <class Record, class Place>
constexpr auto places() {
  return std::apply([](const auto&... rows) { return std::array{Place::of(rows)...}; },
                    Properties<Record>::kAll);
}

template <std::size_t kRows>
constexpr std::size_t last_place(const std::array<int, kRows>& places) {
  return static_cast<std::size_t>(std::ranges::max(places));
}

template <std::size_t kPlaces, std::size_t kRows>
constexpr std::array<std::size_t, kPlaces> rows_at(const std::array<int, kRows>& places) {
  std::array<std::size_t, kPlaces> rows{};
  for (std::size_t i = 0; i < kPlaces; ++i) {
    const int place = static_cast<int>(i) + 1;
    if (std::ranges::count(places, place) != 1) {
      throw "each place in an order is taken by one property";
    }
    rows[i] = static_cast<std::size_t>(std::ranges::find(places, place) - places.begin());
  }
  return rows;
}

template <class Record, class Place, class Visitor>
void for_each(Visitor&& visit) {
  constexpr auto kPlaces = places<Record, Place>();
  constexpr auto kRows = rows_at<last_place(kPlaces)>(kPlaces);
  [&]<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    (visit(std::get<kRows[kIndex]>(Properties<Record>::kAll)), ...);
  }
  (std::make_index_sequence<kRows.size()>());
}

}  // namespace property_order

/// Hands each property of the record class to `visit`, in the order of the table.
template <class Record, class Visitor>
constexpr void for_each_property(Visitor&& visit) {
  std::apply([&](const auto&... rows) { (visit(rows), ...); }, Properties<Record>::kAll);
}

/// Those that are read, in the order of reading.
template <class Record, class Visitor>
void for_each_read(Visitor&& visit) {
  property_order::for_each<Record, property_order::InReading>(visit);
}

/// Those that are written, in the order of writing.
template <class Record, class Visitor>
void for_each_written(Visitor&& visit) {
  property_order::for_each<Record, property_order::InWriting>(visit);
}

/// The columns that a record class needs.
template <class Record>
[[nodiscard]] constexpr auto required_columns() {
  return std::apply(
      [](const auto&... rows) {
        constexpr auto& kMore = Properties<Record>::kMoreColumns;
        std::array<TextView, sizeof...(rows) + kMore.size()> columns{rows.reading.column...};
        for (std::size_t i = 0; i < kMore.size(); ++i) columns[sizeof...(rows) + i] = kMore[i];
        return columns;
      },
      Properties<Record>::kAll);
}

/// What the object model does with a record's properties beside its clients. A friend of the record
/// classes.
struct PropertyAccess {
  template <class Record, auto kGetter, auto kSetter, class Value>
  static void set(Record& record, const Property<kGetter, kSetter>& property, Value value) {
    if constexpr (std::is_member_function_pointer_v<decltype(kSetter)>) {
      (record.*kSetter)(std::move(value));
    } else if (property.form == Form::kRowVersion) {
      record.*kSetter = std::move(value);  // never marks the record changed
    } else {
      record.set(record.*kSetter, std::move(value));
    }
  }

  template <class Record>
  static void clear_changed(Record& record) {
    record.changed_ = false;
  }
};

/// The place in a table of the row with this name. Does not compile where there is none.
template <class... Rows>
[[nodiscard]] consteval std::size_t place_in(const std::tuple<Rows...>& table,
                                             std::string_view name) {
  const auto names =
      std::apply([](const auto&... rows) { return std::array{rows.name...}; }, table);
  const auto found = std::ranges::find(names, name);
  if (found == names.end()) throw "the table has no row of this name";
  return static_cast<std::size_t>(found - names.begin());
}

/// The property with this name. Does not compile where there is none.
template <class Record, Name kName>
inline constexpr auto& kPropertyOf =
    std::get<place_in(Properties<Record>::kAll, kName.view())>(Properties<Record>::kAll);

/// Sets a property by its name, also one that clients can only read.
template <class Record, Name kName>
void set_property(Record& record,
                  typename std::remove_cvref_t<decltype(kPropertyOf<Record, kName>)>::Value value) {
  PropertyAccess::set(record, kPropertyOf<Record, kName>, std::move(value));
}

}  // namespace tarnwick
