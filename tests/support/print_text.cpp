#include "gtest/internal/custom/gtest-port.h"

#include <array>
#include <cstdio>
#include <ostream>
#include <sstream>

#include "runtime/text.h"

namespace tarnwick::test_support {
namespace {

bool is_high_surrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool is_low_surrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// Controls, blanks other than the common one, marks of direction and joining, private use,
/// surrogates by themselves.
bool is_unseen(char16_t unit) {
  struct Range {
    char16_t first;
    char16_t last;
  };
  static constexpr std::array<Range, 13> kUnseen{{{0x0000, 0x001F},
                                                  {0x007F, 0x00A0},
                                                  {0x00AD, 0x00AD},
                                                  {0x0300, 0x036F},
                                                  {0x061C, 0x061C},
                                                  {0x1680, 0x1680},
                                                  {0x2000, 0x200F},
                                                  {0x2028, 0x202F},
                                                  {0x205F, 0x206F},
                                                  {0x3000, 0x3000},
                                                  {0xD800, 0xF8FF},
                                                  {0xFE00, 0xFE0F},
                                                  {0xFEFF, 0xFFFF}}};
  for (const Range& range : kUnseen) {
    if (unit >= range.first && unit <= range.last) return true;
  }
  return false;
}

/// How many units of `text` from `at` stand for one character that can be seen; 0 for none.
std::size_t seen(TextView text, std::size_t at) {
  if (!is_unseen(text[at])) return 1;
  const bool pair =
      is_high_surrogate(text[at]) && at + 1 < text.size() && is_low_surrogate(text[at + 1]);
  return pair ? 2 : 0;
}

void print_escape(char16_t unit, std::ostream& out) {
  switch (unit) {
    case u'\r':
      out << "\\r";
      return;
    case u'\n':
      out << "\\n";
      return;
    case u'\t':
      out << "\\t";
      return;
    default:
      break;
  }
  std::array<char, 8> escape{};
  std::snprintf(escape.data(), escape.size(), "\\u%04X", static_cast<unsigned>(unit));
  out << escape.data();
}

}  // namespace

void print_text(TextView text, std::ostream& out) {
  out << "u\"";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t units = seen(text, at);
    if (units == 0) {
      print_escape(text[at++], out);
      continue;
    }
    if (text[at] == u'"' || text[at] == u'\\') out << '\\';
    out << to_utf8(text.substr(at, units));
    at += units;
  }
  out << '"';
}

std::string printed(TextView text) {
  std::ostringstream out;
  print_text(text, out);
  return out.str();
}

}  // namespace tarnwick::test_support
