#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "runtime/error.h"
#include "runtime/text.h"

namespace tarnwick::test_support {

/// The number of the Error that `call` throws; nothing when it returns.
template <class Call>
[[nodiscard]] std::optional<std::int32_t> error_number_of(Call&& call) {
  try {
    static_cast<void>(std::forward<Call>(call)());
  } catch (const Error& error) {
    return error.number();
  }
  return std::nullopt;
}

/// The description of the Error that `call` throws; nothing when it returns.
template <class Call>
[[nodiscard]] std::optional<Text> error_description_of(Call&& call) {
  try {
    static_cast<void>(std::forward<Call>(call)());
  } catch (const Error& error) {
    return error.description();
  }
  return std::nullopt;
}

}  // namespace tarnwick::test_support
