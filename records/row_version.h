#pragma once

#include "runtime/variant.h"

namespace tarnwick {

/// `text` without blanks at its ends, filled up on the left with `fill` to `width` characters.
[[nodiscard]] Text pad_left(TextView text, std::int16_t width, char16_t fill);

/// Every character's code in upper-case hexadecimal, at least two digits each, in order.
[[nodiscard]] Text row_version_to_hex(TextView version);

/// The text form of a RowVersion column: each byte two digits, so that nothing is lost. Null is "".
[[nodiscard]] Text row_version_text(const Variant& column);

}  // namespace tarnwick
