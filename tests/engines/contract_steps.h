#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <utility>

#include "ado/error.h"
#include "runtime/text.h"

namespace tarnwick::engine_contract {

inline constexpr TextView kSales = u"Select * From DW_Reports Where ReportName = 'Sales'";
inline constexpr TextView kStock = u"Select * From DW_Reports Where ReportName = 'Stock'";
inline constexpr TextView kAllReports = u"Select * From DW_Reports Order By ReportName";

[[nodiscard]] inline Text text(TextView literal) { return Text(literal); }

/// The error that `step` ends with; a test failure when it ends without one.
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

template <class Step>
[[nodiscard]] std::int32_t number_of(Step&& step) {
  return error_of(std::forward<Step>(step)).number();
}

template <class Step>
void expect_lock_timeout(Step&& step) {
  const ado::AdoError error = error_of(std::forward<Step>(step));
  EXPECT_EQ(error.number(), -2147467259);
  EXPECT_EQ(error.native(), 1222);
  EXPECT_NE(error.description().find(u"Lock request time out period exceeded."), Text::npos)
      << error.what();
}

}  // namespace tarnwick::engine_contract
