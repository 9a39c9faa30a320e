#include "runtime/conversions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick {
namespace {

[[noreturn]] void raise(ErrorNumber number) { throw Error(number); }

/// The sum of the places before the point and of the exponent: whether a number that is out of
/// range is too large or too small. `first`: its first digit other than 0.
std::int64_t magnitude_of(const std::string& digits, std::string_view mantissa, std::size_t first) {
  constexpr std::int64_t kEnough = 1'000'000'000'000;  // beyond every length of a text
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  std::int64_t exponent = 0;
  if (mantissa.size() < digits.size()) {
    const char* begin = digits.data() + mantissa.size() + 1;
    if (*begin == '+') ++begin;
    const auto read = std::from_chars(begin, digits.data() + digits.size(), exponent);
    if (read.ec != std::errc{}) exponent = *begin == '-' ? -kEnough : kEnough;
    exponent = std::clamp(exponent, -kEnough, kEnough);
  }
  return static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) + exponent;
}

/// The number of a numeric text, infinite where it is too large; nothing for another text.
std::optional<double> read_number(TextView text) {
  text = trim(text);
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  const bool other = text.find_first_not_of(u"0123456789.+-eEdD") != TextView::npos;
  if (other || text.starts_with(u'-')) return std::nullopt;
  std::string digits(text.begin(), text.end());
  std::ranges::replace_if(
      digits, [](char c) { return c == 'E' || c == 'd' || c == 'D'; }, 'e');

  double number = 0.0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, number);
  if (read.ec == std::errc::invalid_argument || read.ptr != end) return std::nullopt;
  const std::string_view mantissa = std::string_view(digits).substr(0, digits.find('e'));
  const std::size_t first = mantissa.find_first_of("123456789");
  if (first == std::string_view::npos) return 0.0;
  // Untaken: this library's from_chars tells of every number that is too large.
  if (read.ec == std::errc::result_out_of_range || std::isinf(number)) {
    const bool too_large = magnitude_of(digits, mantissa, first) > 0;
    number = too_large ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return negative ? -number : number;
}

double number_of(TextView text) {
  const std::optional<double> number = read_number(text);
  if (!number) raise(ErrorNumber::kTypeMismatch);
  if (std::isinf(*number)) raise(ErrorNumber::kOverflow);
  return *number;
}

/// The value as a double; a Date is its days, True -1.
struct AsDouble {
  double operator()(Empty) const { return 0.0; }
  double operator()(Null) const { raise(ErrorNumber::kInvalidUseOfNull); }
  double operator()(bool value) const { return value ? -1.0 : 0.0; }
  double operator()(std::int16_t value) const { return value; }
  double operator()(std::int32_t value) const { return value; }
  double operator()(std::int64_t value) const { return static_cast<double>(value); }
  double operator()(double value) const { return value; }
  double operator()(Date value) const { return value.days; }
  double operator()(const Text& value) const { return number_of(value); }
  double operator()(const Bytes&) const { raise(ErrorNumber::kTypeMismatch); }
};

template <class Integer>
Integer to_integer(const Variant& value) {
  // std::nearbyint rounds half to even in the default rounding mode.
  const double number = std::nearbyint(std::visit(AsDouble{}, value));
  const bool fits = number >= std::numeric_limits<Integer>::min() &&
                    number <= std::numeric_limits<Integer>::max();
  if (!fits) raise(ErrorNumber::kOverflow);
  return static_cast<Integer>(number);
}

Text text_of_double(double number) {
  if (number == 0.0) return u"0";  // also the negative one
  char buffer[32];
  char* end =
      std::to_chars(buffer, buffer + sizeof buffer, number, std::chars_format::general, 15).ptr;
  std::replace(buffer, end, 'e', 'E');
  return Text(buffer, end);
}

struct AsText {
  Text operator()(Empty) const { return {}; }
  Text operator()(Null) const { raise(ErrorNumber::kInvalidUseOfNull); }
  Text operator()(bool value) const { return value ? u"True" : u"False"; }
  Text operator()(std::int16_t value) const { return decimal(value); }
  Text operator()(std::int32_t value) const { return decimal(value); }
  Text operator()(std::int64_t value) const { return decimal(value); }
  Text operator()(double value) const { return text_of_double(value); }
  Text operator()(Date value) const { return to_text(value); }
  Text operator()(const Text& value) const { return value; }
  Text operator()(const Bytes& value) const {
    Text text;
    text.reserve((value.size() + 1) / 2);
    for (std::size_t i = 0; i < value.size(); i += 2) {
      const unsigned low = std::to_integer<unsigned>(value[i]);
      const unsigned high = i + 1 < value.size() ? std::to_integer<unsigned>(value[i + 1]) : 0;
      text.push_back(static_cast<char16_t>(high << 8 | low));
    }
    return text;
  }
};

}  // namespace

bool is_numeric(TextView text) { return read_number(text).has_value(); }

std::int16_t to_int16(const Variant& value) {
  if (const auto* same = std::get_if<std::int16_t>(&value)) return *same;
  return to_integer<std::int16_t>(value);
}

std::int32_t to_int32(const Variant& value) {
  if (const auto* same = std::get_if<std::int32_t>(&value)) return *same;
  return to_integer<std::int32_t>(value);
}

double to_double(const Variant& value) { return std::visit(AsDouble{}, value); }

bool to_bool(const Variant& value) {
  if (const auto* same = std::get_if<bool>(&value)) return *same;
  if (const auto* text = std::get_if<Text>(&value)) {
    if (equals_ignoring_case(*text, u"True")) return true;
    if (equals_ignoring_case(*text, u"False")) return false;
  }
  return to_double(value) != 0.0;
}

Date to_date(const Variant& value) {
  if (const auto* same = std::get_if<Date>(&value)) return *same;
  if (const auto* text = std::get_if<Text>(&value)) return date_from_iso_text(*text);
  const Date date{to_double(value)};
  if (!is_in_calendar(date)) raise(ErrorNumber::kOverflow);
  return date;
}

Text to_text(const Variant& value) { return std::visit(AsText{}, value); }

Text to_text(Variant&& value) {
  if (auto* text = std::get_if<Text>(&value)) return std::move(*text);
  return to_text(std::as_const(value));
}

Bytes to_bytes(Variant&& value) {
  if (is_null(value)) raise(ErrorNumber::kInvalidUseOfNull);
  if (auto* bytes = std::get_if<Bytes>(&value)) return std::move(*bytes);
  const auto* text = std::get_if<Text>(&value);
  if (text == nullptr) raise(ErrorNumber::kTypeMismatch);
  ByteBuffer bytes;
  bytes.reserve(text->size() * 2);
  for (const char16_t unit : *text) {
    bytes.push_back(static_cast<std::byte>(unit & 0xFF));
    bytes.push_back(static_cast<std::byte>(unit >> 8));
  }
  return bytes;
}

}  // namespace tarnwick
