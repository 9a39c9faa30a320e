#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "runtime/text.h"

namespace tarnwick {

/// `text` in upper case, by Unicode simple case mapping (one code point to one code point).
[[nodiscard]] Text upper(TextView text);

/// `text` folded for comparison without regard to case, by Unicode simple case folding. Has as
/// many code units as `text`.
[[nodiscard]] Text fold(TextView text);

/// Folds as fold() into `out`, which has room for text.size() units, and returns a hash of the
/// folding (the same in every run of the program).
std::uint64_t fold_and_hash(TextView text, char16_t* out);

/// Whether the two are equal without regard to case (their foldings are equal).
[[nodiscard]] bool equals_ignoring_case(TextView a, TextView b);

/// Whether `text` is one of `texts`, without regard to case.
[[nodiscard]] bool is_one_of(TextView text, std::initializer_list<TextView> texts);

/// Position of the first occurrence of `part` in `text` without regard to case, or Text::npos.
[[nodiscard]] std::size_t find_ignoring_case(TextView text, TextView part);

}  // namespace tarnwick
