#pragma once

#include "runtime/text.h"
#include "state/enums.h"

namespace tarnwick {

/// "CRY" in any letter case; every other text is None_rt.
[[nodiscard]] ReportTypesEnum report_type_from_code(TextView code);

/// "CRY", or "" for everything but CrystalReport_rt.
[[nodiscard]] Text report_type_to_code(ReportTypesEnum type);

}  // namespace tarnwick
