#include <algorithm>
#include <span>

#include "runtime/simple_case.h"

namespace tarnwick {
namespace {

struct CasePair {
  char32_t from;
  char32_t to;
};

#include <simple_case_tables.inc>  // made by write_simple_case_tables

char32_t mapped(std::span<const CasePair> table, char32_t code_point) {
  const auto found = std::ranges::lower_bound(table, code_point, {}, &CasePair::from);
  return found != table.end() && found->from == code_point ? found->to : code_point;
}

}  // namespace

char32_t simple_upper(char32_t code_point) { return mapped(kUpper, code_point); }

char32_t simple_fold(char32_t code_point) { return mapped(kFold, code_point); }

}  // namespace tarnwick
