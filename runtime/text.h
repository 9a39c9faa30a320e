#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tarnwick {

/// Counted UTF-16, as automation strings are: may hold any code unit, NUL included.
using Text = std::u16string;
using TextView = std::u16string_view;

inline constexpr TextView kCrLf = u"\r\n";

/// The pieces one after the other, without separators.
[[nodiscard]] Text join(std::initializer_list<TextView> pieces);

/// `number` in decimal: no leading blank, a minus sign for negative numbers.
[[nodiscard]] Text decimal(std::int64_t number);

/// UTF-8 of `text`. Throws Error 5 when `text` holds an unpaired surrogate: it has no UTF-8 form.
[[nodiscard]] std::string to_utf8(TextView text);

/// UTF-8 of `text` for people to read: U+FFFD stands for every unpaired surrogate. Never throws.
[[nodiscard]] std::string to_display_utf8(TextView text);

/// UTF-16 of `utf8`. Throws Error 5 when `utf8` is malformed.
[[nodiscard]] Text from_utf8(std::string_view utf8);

/// UTF-16 of `utf8`, with U+FFFD for every malformed sequence. Never throws; ASCII is quick.
[[nodiscard]] Text from_stored_utf8(std::string_view utf8);
/// The same, behind what `text` holds.
void append_stored_utf8(std::string_view utf8, Text& text);

/// The text of which each byte is a character: ISO-8859-1.
[[nodiscard]] Text from_latin1(std::string_view bytes);

/// How many bytes of `utf8`, which is not empty, from_stored_utf8 takes for its first character.
[[nodiscard]] std::size_t first_character_size(std::string_view utf8);

/// Whether the two are equal. Quicker than the library's own comparison, which goes unit by unit.
[[nodiscard]] inline bool same_units(TextView a, TextView b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

/// `text` without blanks (U+0020) at its ends.
[[nodiscard]] TextView trim(TextView text);

}  // namespace tarnwick
