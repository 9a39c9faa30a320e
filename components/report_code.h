#pragma once

#include "records/column_values.h"
#include "state/enums.h"

namespace tarnwick {

/// "CRY", "PC" and "PCA" in any letter case; every other text is None_rc. Blanks count.
[[nodiscard]] ReportCodeEnum report_code_from_text(TextView text);

/// The text code of `code`; "" for None_rc and every other value.
[[nodiscard]] Text report_code_to_text(ReportCodeEnum code);

/// A column holds the text code.
template <>
struct Stored<ReportCodeEnum> {
  static ReportCodeEnum from(Variant value) {
    return report_code_from_text(to_text(std::move(value)));
  }
  static Text to(ReportCodeEnum code) { return report_code_to_text(code); }
};

}  // namespace tarnwick
