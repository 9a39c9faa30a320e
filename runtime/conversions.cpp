#include "runtime/conversions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick {
namespace {

[[noreturn]] void raise(ErrorNumber number) { throw Error(number); }

/// The parts of a numeric text as the standard library reads it.
struct Numeral {
  bool negative = false;
  std::string digits;          // digits, point and exponent (with "e"), without sign
  std::int64_t magnitude = 0;  // the number is below 10 to this power and, unless 0, not below
                               // a tenth of it
  bool zero = true;            // no digit other than 0
};

class NumeralReader {
 public:
  explicit NumeralReader(TextView text) : rest_(trim(text)) {}

  std::optional<Numeral> read() {
    if (peek(u'+') || peek(u'-')) numeral_.negative = take() == '-';
    const std::size_t whole = take_digits(false);
    std::size_t fraction = 0;
    if (peek(u'.')) {
      numeral_.digits.push_back(take());
      fraction = take_digits(true);
    }
    if (whole + fraction == 0) return std::nullopt;
    if (!rest_.empty() && !take_exponent()) return std::nullopt;
    if (!rest_.empty()) return std::nullopt;
    return std::move(numeral_);
  }

 private:
  static bool is_digit(char16_t c) { return c >= u'0' && c <= u'9'; }
  [[nodiscard]] bool peek(char16_t c) const { return !rest_.empty() && rest_.front() == c; }
  [[nodiscard]] bool peek_digit() const { return !rest_.empty() && is_digit(rest_.front()); }
  char take() {
    const char c = static_cast<char>(rest_.front());
    rest_.remove_prefix(1);
    return c;
  }

  std::size_t take_digits(bool behind_point) {
    std::size_t count = 0;
    for (; peek_digit(); ++count) {
      const char digit = take();
      numeral_.digits.push_back(digit);
      const bool leading_zero = numeral_.zero && digit == '0';
      if (!leading_zero) numeral_.zero = false;
      if (!behind_point && !leading_zero) ++numeral_.magnitude;
      if (behind_point && leading_zero) --numeral_.magnitude;
    }
    return count;
  }

  bool take_exponent() {
    if (!peek(u'e') && !peek(u'E') && !peek(u'd') && !peek(u'D')) return false;
    take();
    numeral_.digits.push_back('e');
    bool negative = false;
    if (peek(u'+') || peek(u'-')) {
      negative = take() == '-';
      numeral_.digits.push_back(negative ? '-' : '+');
    }
    if (!peek_digit()) return false;
    constexpr std::int64_t kEnough = 1'000'000'000'000;  // beyond every length of a text
    std::int64_t exponent = 0;
    while (peek_digit()) {
      const char digit = take();
      numeral_.digits.push_back(digit);
      exponent = std::min(exponent * 10 + (digit - '0'), kEnough);
    }
    numeral_.magnitude += negative ? -exponent : exponent;
    return true;
  }

  TextView rest_;
  Numeral numeral_;
};

double number_of(TextView text) {
  const std::optional<Numeral> numeral = NumeralReader(text).read();
  if (!numeral) raise(ErrorNumber::kTypeMismatch);
  if (numeral->zero) return 0.0;
  double number = 0.0;
  const char* begin = numeral->digits.data();
  const auto result = std::from_chars(begin, begin + numeral->digits.size(), number);
  if (result.ec == std::errc::result_out_of_range || std::isinf(number)) {
    if (numeral->magnitude > 0) raise(ErrorNumber::kOverflow);
    number = 0.0;
  }
  return numeral->negative ? -number : number;
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

bool is_numeric(TextView text) { return NumeralReader(text).read().has_value(); }

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
