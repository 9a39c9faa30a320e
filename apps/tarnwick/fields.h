#pragma once

#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "apps/tarnwick/rows.h"

namespace tarnwick::cli {

/// The value of one property of a record.
using FieldValue = std::variant<Text, std::int16_t, std::int32_t, bool, Date, MaintTypeEnum,
                                ReportCodeEnum, ReportTypesEnum>;

template <class Row>
using Member =
    std::variant<Text Row::*, std::int16_t Row::*, std::int32_t Row::*, bool Row::*, Date Row::*,
                 MaintTypeEnum Row::*, ReportCodeEnum Row::*, ReportTypesEnum Row::*>;

/// One property of a record: what listings, JSON, comparisons and switches are made of.
template <class Row>
struct Field {
  std::string_view name;  // the property's
  Member<Row> member;
  std::string_view option;  // the switch that sets it ("--title"); empty: it has none
  std::string_view help = {};
  bool key = false;  // a part of what names the record
};

/// The properties of each kind of record, in the order in which they are shown.
[[nodiscard]] std::span<const Field<ComponentRow>> fields_of(const ComponentRow&);
[[nodiscard]] std::span<const Field<PcRow>> fields_of(const PcRow&);
[[nodiscard]] std::span<const Field<ReportRow>> fields_of(const ReportRow&);

template <class Row>
[[nodiscard]] FieldValue get(const Row& row, const Field<Row>& field) {
  return std::visit([&](auto member) { return FieldValue(row.*member); }, field.member);
}

/// `value` has the type of the field.
template <class Row>
void set(Row& row, const Field<Row>& field, const FieldValue& value) {
  std::visit(
      [&](auto member) { row.*member = std::get<std::decay_t<decltype(row.*member)>>(value); },
      field.member);
}

/// For people: UTF-8, dates as yyyy-mm-dd hh:mm:ss, enumerations by name, "" for what is not set.
[[nodiscard]] std::string display(const FieldValue& value);

/// For machines: as display, but numbers and Booleans are JSON's own and no date is null.
[[nodiscard]] nlohmann::ordered_json to_json(const FieldValue& value);

/// The value, of the same type as `like`, that `text` (UTF-8) stands for. Throws Failure (kUsage)
/// that begins with `name`.
[[nodiscard]] FieldValue parse(std::string_view name, std::string_view text,
                               const FieldValue& like);

/// As parse, from what to_json makes.
[[nodiscard]] FieldValue from_json(std::string_view name, const nlohmann::ordered_json& json,
                                   const FieldValue& like);

template <class Row>
[[nodiscard]] nlohmann::ordered_json row_to_json(const Row& row);

extern template nlohmann::ordered_json row_to_json(const ComponentRow&);
extern template nlohmann::ordered_json row_to_json(const PcRow&);
extern template nlohmann::ordered_json row_to_json(const ReportRow&);

}  // namespace tarnwick::cli
