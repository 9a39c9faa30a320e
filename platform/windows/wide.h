#pragma once

#include <string>

#include "runtime/text.h"

namespace tarnwick::platform {

/// `text` as Windows takes it: the same code units, ended by a NUL.
[[nodiscard]] inline std::wstring to_wide(TextView text) {
  return std::wstring(text.begin(), text.end());
}

[[nodiscard]] inline Text from_wide(std::wstring_view wide) {
  return Text(wide.begin(), wide.end());
}

}  // namespace tarnwick::platform
