#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "ado/error.h"

namespace tarnwick::odbc_test {

/// The error that `step` ends with; a failed test when it ends without one.
template <class Step>
[[nodiscard]] ado::AdoError error_of(Step&& step) {
  try {
    std::forward<Step>(step)();
  } catch (const ado::AdoError& error) {
    return error;
  }
  ADD_FAILURE() << "no error where one has to be";
  return ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"no error");
}

[[nodiscard]] constexpr std::int32_t number(ado::AdoErrorNumber value) {
  return static_cast<std::int32_t>(value);
}

}  // namespace tarnwick::odbc_test
