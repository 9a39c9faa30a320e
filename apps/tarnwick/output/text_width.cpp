#include "apps/tarnwick/output/text_width.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace tarnwick::cli {
namespace {

struct WidthRange {
  std::uint32_t first;
  std::uint32_t last;
  std::uint8_t width;
};

// Of the characters that do not take one column.
constexpr WidthRange kWidths[] = {
#include <text_widths.inc>  // made by write_text_widths
};

std::size_t width_of(std::uint32_t character) {
  const auto range = std::ranges::lower_bound(kWidths, character, {}, &WidthRange::last);
  return range != std::end(kWidths) && range->first <= character ? range->width : 1;
}

struct Character {
  std::uint32_t number;
  std::size_t bytes;
};

// The one that `text` begins with. A byte that begins none stands for itself.
Character first_of(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t bytes = lead >= 0xF0 ? 4 : (lead >= 0xE0 ? 3 : (lead >= 0xC0 ? 2 : 1));
  if (bytes == 1 || bytes > text.size()) return {lead, 1};
  std::uint32_t number = lead & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    number = (number << 6) | (static_cast<unsigned char>(text[i]) & 0x3Fu);
  }
  return {number, bytes};
}

}  // namespace

std::size_t width_of(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const Character character = first_of(text);
    width += width_of(character.number);
    text.remove_prefix(character.bytes);
  }
  return width;
}

std::string_view cut_to_width(std::string_view text, std::size_t columns) {
  std::size_t length = 0;
  while (length < text.size()) {
    const Character character = first_of(text.substr(length));
    const std::size_t width = width_of(character.number);
    if (width > columns) break;
    columns -= width;
    length += character.bytes;
  }
  return text.substr(0, length);
}

}  // namespace tarnwick::cli
