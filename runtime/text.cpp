#include "runtime/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>

#include "runtime/error.h"

namespace tarnwick {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::size_t kBlock = sizeof(std::uint64_t);

bool is_high_surrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool is_low_surrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void append_utf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

/// Narrows the ASCII units at the front of `text` into `out`; returns how many there were.
std::size_t narrow_ascii(TextView text, char* out) {
  std::size_t i = 0;
  for (; i + kBlock <= text.size(); i += kBlock) {
    std::array<char16_t, kBlock> wide;
    std::memcpy(wide.data(), text.data() + i, sizeof wide);
    const auto halves = std::bit_cast<std::array<std::uint64_t, 2>>(wide);
    if (((halves[0] | halves[1]) & 0xFF80FF80FF80FF80u) != 0) break;
    std::array<char, kBlock> narrow;
    for (std::size_t k = 0; k < kBlock; ++k) narrow[k] = static_cast<char>(wide[k]);
    std::memcpy(out + i, narrow.data(), kBlock);
  }
  for (; i < text.size() && text[i] < 0x80; ++i) out[i] = static_cast<char>(text[i]);
  return i;
}

/// Calls `unpaired` for every unpaired surrogate and takes what it returns instead.
template <class Unpaired>
std::string encode(TextView text, Unpaired unpaired) {
  std::string out(text.size(), '\0');
  const std::size_t ascii = narrow_ascii(text, out.data());
  out.resize(ascii);
  for (std::size_t i = ascii; i < text.size(); ++i) {
    char32_t c = text[i];
    if (is_high_surrogate(c) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      c = 0x10000 + ((c - 0xD800) << 10) + (static_cast<char32_t>(text[++i]) - 0xDC00);
    } else if (is_high_surrogate(c) || is_low_surrogate(c)) {
      c = unpaired();
    }
    append_utf8(out, c);
  }
  return out;
}

char16_t* put(char16_t* out, char32_t c) {
  if (c >= 0x10000) {
    *out++ = static_cast<char16_t>(0xD7C0 + (c >> 10));
    c = 0xDC00 | (c & 0x3FF);
  }
  *out++ = static_cast<char16_t>(c);
  return out;
}

/// Widens the ASCII bytes at the front of `utf8` into `out`; returns how many there were.
std::size_t widen_ascii(std::string_view utf8, char16_t* out) {
  std::size_t i = 0;
  for (; i + kBlock <= utf8.size(); i += kBlock) {
    // Through copies of their own: stores to `out` could otherwise change the bytes still to be
    // read, for all the compiler knows, and it would go byte by byte.
    std::array<unsigned char, kBlock> narrow;
    std::memcpy(narrow.data(), utf8.data() + i, kBlock);
    if ((std::bit_cast<std::uint64_t>(narrow) & 0x8080808080808080u) != 0) break;
    std::array<char16_t, kBlock> wide;
    for (std::size_t k = 0; k < kBlock; ++k) wide[k] = narrow[k];
    std::memcpy(out + i, wide.data(), sizeof wide);
  }
  for (; i < utf8.size() && static_cast<unsigned char>(utf8[i]) < 0x80; ++i) {
    out[i] = static_cast<unsigned char>(utf8[i]);
  }
  return i;
}

/// One sequence at the front of `utf8`, which is not empty. `code_point` is kReplacement and
/// `well_formed` false for the longest part that could have begun a sequence (or one byte), as
/// the Unicode Standard recommends for replacement (section 3.9, "maximal subpart").
struct Sequence {
  char32_t code_point;
  std::size_t length;
  bool well_formed;
};

Sequence decode(std::string_view utf8) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(utf8[i]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return {lead, 1, true};

  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;  // range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return {kReplacement, 1, false};
  }

  char32_t c = lead & (0xFFu >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (i >= utf8.size() || byte(i) < low || byte(i) > high) return {kReplacement, i, false};
    c = (c << 6) | (byte(i) & 0x3Fu);
    low = 0x80;
    high = 0xBF;
  }
  return {c, length, true};
}

/// Appends to `text`. Calls `malformed` before it takes U+FFFD for a malformed sequence.
template <class Malformed>
void decode_all(std::string_view utf8, Text& text, Malformed malformed) {
  const std::size_t begin = text.size();
  text.resize(begin + utf8.size());  // UTF-8 never has fewer bytes than UTF-16 has units
  char16_t* out = text.data() + begin;
  std::size_t done = widen_ascii(utf8, out);
  if (done == utf8.size()) return;
  out += done;
  while (done < utf8.size()) {
    const Sequence sequence = decode(utf8.substr(done));
    if (!sequence.well_formed) malformed();
    out = put(out, sequence.code_point);
    done += sequence.length;
    if (done < utf8.size()) {
      const std::size_t ascii = widen_ascii(utf8.substr(done), out);
      out += ascii;
      done += ascii;
    }
  }
  text.resize(static_cast<std::size_t>(out - text.data()));
}

}  // namespace

Text join(std::initializer_list<TextView> pieces) {
  std::size_t size = 0;
  for (const TextView piece : pieces) size += piece.size();
  Text text;
  text.reserve(size);
  for (const TextView piece : pieces) text.append(piece);
  return text;
}

Text decimal(std::int64_t number) {
  std::array<char, 20> digits;  // "-9223372036854775808"
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  return Text(digits.data(), end);
}

std::string to_utf8(TextView text) {
  return encode(text, []() -> char32_t { throw Error(ErrorNumber::kInvalidProcedureCall); });
}

std::string to_display_utf8(TextView text) {
  return encode(text, [] { return kReplacement; });
}

Text from_utf8(std::string_view utf8) {
  Text text;
  decode_all(utf8, text, [] { throw Error(ErrorNumber::kInvalidProcedureCall); });
  return text;
}

std::size_t first_character_size(std::string_view utf8) { return decode(utf8).length; }

Text from_stored_utf8(std::string_view utf8) {
  Text text;
  append_stored_utf8(utf8, text);
  return text;
}

void append_stored_utf8(std::string_view utf8, Text& text) {
  decode_all(utf8, text, [] {});
}

Text from_latin1(std::string_view bytes) {
  Text text(bytes.size(), u'\0');
  std::transform(bytes.begin(), bytes.end(), text.begin(),
                 [](char byte) { return static_cast<unsigned char>(byte); });
  return text;
}

TextView trim(TextView text) {
  const std::size_t first = text.find_first_not_of(u' ');
  if (first == TextView::npos) return text.substr(0, 0);
  return text.substr(first, text.find_last_not_of(u' ') - first + 1);
}

}  // namespace tarnwick
