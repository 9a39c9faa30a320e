#include "runtime/case_mapping.h"

#include <algorithm>
#include <array>

#include "runtime/simple_case.h"

namespace tarnwick {
namespace {

// Nearly all text is Latin, and the separator inside keys is U+00FE: these tables keep the look-up
// in the Unicode library away from it.
using LatinTable = std::array<char16_t, 256>;

constexpr LatinTable kLatinUpper = [] {
  LatinTable table{};
  for (std::size_t c = 0; c < table.size(); ++c) {
    const bool lower = (c >= 'a' && c <= 'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7);
    table[c] = static_cast<char16_t>(lower ? c - 0x20 : c);
  }
  table[0xB5] = u'\u039C';  // micro sign to Greek capital mu
  table[0xFF] = u'\u0178';
  return table;
}();

constexpr LatinTable kLatinFold = [] {
  LatinTable table{};
  for (std::size_t c = 0; c < table.size(); ++c) {
    const bool upper_case = (c >= 'A' && c <= 'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7);
    table[c] = static_cast<char16_t>(upper_case ? c + 0x20 : c);
  }
  table[0xB5] = u'\u03BC';  // micro sign to Greek small mu
  return table;
}();

/// Maps the code point at `text[i]` to `out[i]` (two units for a surrogate pair) and returns the
/// position behind it. A mapping between code points of different length in UTF-16 is not made:
/// Unicode has none, and positions in the result must be those in `text`.
template <char32_t (*kMap)(char32_t)>
std::size_t map_one(TextView text, std::size_t i, char16_t* out) {
  const char16_t unit = text[i];
  const bool pair = unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() &&
                    text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
  if (!pair) {
    const char32_t mapped = kMap(unit);
    out[i] = mapped < 0x10000 ? static_cast<char16_t>(mapped) : unit;  // Untaken: see above.
    return i + 1;
  }
  const char32_t c = 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) +
                     (static_cast<char32_t>(text[i + 1]) - 0xDC00);
  const char32_t mapped = kMap(c);
  const char32_t kept = mapped < 0x10000 ? c : mapped;  // Untaken: see above.
  out[i] = static_cast<char16_t>(0xD7C0 + (kept >> 10));
  out[i + 1] = static_cast<char16_t>(0xDC00 | (kept & 0x3FF));
  return i + 2;
}

template <char32_t (*kMap)(char32_t)>
void map_all(TextView text, const LatinTable& latin, char16_t* out) {
  for (std::size_t i = 0; i < text.size();) {
    const char16_t unit = text[i];
    if (unit < latin.size()) {
      out[i++] = latin[unit];
    } else {
      i = map_one<kMap>(text, i, out);
    }
  }
}

std::uint64_t mix(std::uint64_t hash, std::uint64_t word) {
  hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
  return hash ^ (hash >> 32);
}

std::uint64_t hash_units(const char16_t* units, std::size_t size) {
  std::uint64_t hash = mix(0, size);
  std::size_t i = 0;
  for (; i + 4 <= size; i += 4) {
    hash = mix(hash, static_cast<std::uint64_t>(units[i]) |
                         static_cast<std::uint64_t>(units[i + 1]) << 16 |
                         static_cast<std::uint64_t>(units[i + 2]) << 32 |
                         static_cast<std::uint64_t>(units[i + 3]) << 48);
  }
  std::uint64_t rest = 0;
  for (; i < size; ++i) rest = rest << 16 | units[i];
  return mix(hash, rest);
}

}  // namespace

Text upper(TextView text) {
  Text result(text.size(), u'\0');
  map_all<simple_upper>(text, kLatinUpper, result.data());
  return result;
}

Text fold(TextView text) {
  Text result(text.size(), u'\0');
  map_all<simple_fold>(text, kLatinFold, result.data());
  return result;
}

std::uint64_t fold_and_hash(TextView text, char16_t* out) {
  map_all<simple_fold>(text, kLatinFold, out);
  return hash_units(out, text.size());
}

bool equals_ignoring_case(TextView a, TextView b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i] == b[i]) continue;
    const bool latin = a[i] < kLatinFold.size() && b[i] < kLatinFold.size();
    if (!latin) return fold(a) == fold(b);
    if (kLatinFold[a[i]] != kLatinFold[b[i]]) return false;
  }
  return true;
}

bool is_one_of(TextView text, std::initializer_list<TextView> texts) {
  return std::ranges::any_of(texts,
                             [&](TextView other) { return equals_ignoring_case(text, other); });
}

std::size_t find_ignoring_case(TextView text, TextView part) { return fold(text).find(fold(part)); }

}  // namespace tarnwick
