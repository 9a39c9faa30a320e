#pragma once

#include "runtime/text.h"

namespace tarnwick {

/// Reads the catalog by name, without the report files. Traces show its blanks.
[[nodiscard]] const Text& report_list();

}  // namespace tarnwick
