#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "ado/error.h"

namespace tarnwick::ado {

/// The number of the AdoError that `step` throws; 0 when it throws none.
template <class Step>
[[nodiscard]] std::int32_t error_number(Step&& step) {
  try {
    std::forward<Step>(step)();
  } catch (const AdoError& error) {
    return error.number();
  }
  return 0;
}

/// The description of that error as UTF-8; empty when none is thrown.
template <class Step>
[[nodiscard]] std::string error_text(Step&& step) {
  try {
    std::forward<Step>(step)();
  } catch (const AdoError& error) {
    return error.what();
  }
  return {};
}

}  // namespace tarnwick::ado
