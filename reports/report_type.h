#pragma once

#include "records/column_values.h"
#include "records/loaded_rows.h"
#include "state/enums.h"

namespace tarnwick {

/// "CRY" in any letter case; every other text is None_rt.
[[nodiscard]] ReportTypesEnum report_type_from_code(TextView code);

/// "CRY", or "" for everything but CrystalReport_rt.
[[nodiscard]] Text report_type_to_code(ReportTypesEnum type);

/// A column holds the text code.
template <>
struct Stored<ReportTypesEnum> {
  static ReportTypesEnum from(Variant value) {
    return report_type_from_code(to_text(std::move(value)));
  }
  static Text to(ReportTypesEnum type) { return report_type_to_code(type); }
};
template <>
struct Plain<ReportTypesEnum> {
  static bool is(ado::Cell::Kind kind) { return Plain<Text>::is(kind); }
  static ReportTypesEnum from(const ado::Cell& cell) {
    return report_type_from_code(Plain<Text>::from(cell));
  }
};

}  // namespace tarnwick
