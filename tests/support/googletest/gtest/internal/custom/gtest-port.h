#pragma once

// GoogleTest includes this file, by this name, before anything of its own: the place that it keeps
// for its users. A printer of a standard type has to be declared before the first use of it, which
// is in GoogleTest's own headers.

#include <iosfwd>
#include <string>
#include <string_view>

namespace tarnwick::test_support {

/// `text` as a literal, u"...", in UTF-8; what cannot be seen is escaped.
void print_text(std::u16string_view text, std::ostream& out);
[[nodiscard]] std::string printed(std::u16string_view text);

}  // namespace tarnwick::test_support

namespace testing::internal {

template <typename T>
class UniversalPrinter;
template <typename ToPrint, typename OtherOperand>
class FormatForComparison;

template <>
class UniversalPrinter<std::u16string_view> {
 public:
  static void Print(std::u16string_view text, std::ostream* out) {
    tarnwick::test_support::print_text(text, *out);
  }
};
template <>
class UniversalPrinter<std::u16string> : public UniversalPrinter<std::u16string_view> {};

// A literal beside a view. Beside a text GoogleTest takes it for one by itself.
template <>
class FormatForComparison<const char16_t*, std::u16string_view> {
 public:
  static std::string Format(const char16_t* text) { return tarnwick::test_support::printed(text); }
};

}  // namespace testing::internal
