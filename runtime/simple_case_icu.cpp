#include <unicode/uchar.h>

#include "runtime/simple_case.h"

namespace tarnwick {

char32_t simple_upper(char32_t code_point) {
  return static_cast<char32_t>(u_toupper(static_cast<UChar32>(code_point)));
}

char32_t simple_fold(char32_t code_point) {
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(code_point), U_FOLD_CASE_DEFAULT));
}

}  // namespace tarnwick
