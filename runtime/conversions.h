#pragma once

#include <optional>

#include "runtime/variant.h"

namespace tarnwick {

/// Conversions between automation types, with the run-time's error numbers. All throw Error 94 for
/// Null, 13 for a value that does not convert, 6 for a number outside the result's range.
///
/// A text converts to a number when it has this form (and `is_numeric` then says true):
///   blanks? sign? digits [. digits?] [exponent] blanks?   or   blanks? sign? . digits [exponent]
///   blanks? exponent: e, E, d or D, sign?, digits
/// Fractions round half to even (0.5 to 0, 1.5 to 2). Empty converts as 0, False, "" or zero date.
[[nodiscard]] bool is_numeric(TextView text);

[[nodiscard]] std::int16_t to_int16(const Variant& value);
[[nodiscard]] std::int32_t to_int32(const Variant& value);
[[nodiscard]] double to_double(const Variant& value);
/// Numbers: other than 0 is True. Texts: "True" and "False" in any case, or a numeric text.
[[nodiscard]] bool to_bool(const Variant& value);
/// Numbers are taken as automation dates; texts in the forms of date_from_iso_text.
[[nodiscard]] Date to_date(const Variant& value);
/// Text of Null is Error 94, of Empty "", of a Boolean "True" or "False", of a double up to 15
/// significant digits. Bytes are taken two at a time as UTF-16 (little endian), an odd last byte
/// alone.
[[nodiscard]] Text to_text(const Variant& value);
[[nodiscard]] Text to_text(Variant&& value);
/// Bytes as they are; a text as its UTF-16 bytes (little endian); anything else is Error 13.
[[nodiscard]] Bytes to_bytes(Variant&& value);

}  // namespace tarnwick
