// Texts that become numbers, truth values and dates, and what becomes of them as texts again.

#include "runtime/conversions.h"

#include <optional>

#include "fuzz/target.h"
#include "runtime/date.h"
#include "runtime/error.h"

namespace tarnwick::fuzz {
namespace {

/// What `step` returns; nothing when it ends with one of the three errors that a conversion has.
template <class Step>
auto result_of(Step&& step) -> std::optional<decltype(step())> {
  try {
    return step();
  } catch (const Error& error) {
    require(error.number() == 5 || error.number() == 6 || error.number() == 13,
            "a text that does not convert is error 13, one that is too large 6, a date beyond the "
            "calendar 5");
    return std::nullopt;
  }
}

}  // namespace

void attempt(Input input) {
  const Text text = input.choice(2) == 0 ? from_stored_utf8(input.rest()) : input.rest_as_text();
  const Variant value = text;
  const auto number = result_of([&] { return to_double(value); });
  require(!number || is_numeric(text), "what converts to a number is numeric");
  if (number) {
    const Text shown = to_text(Variant(*number));
    const auto again = result_of([&] { return to_double(Variant(shown)); });
    require(again.has_value(), "a number's text is numeric");
    require(to_text(Variant(*again)) == shown, "a number's text does not change by reading it");
  }
  const auto whole = result_of([&] { return to_int32(value); });
  require(!whole || is_numeric(text), "what converts to an integer is numeric");
  const auto little = result_of([&] { return to_int16(value); });
  require(!little || whole == std::optional<std::int32_t>(*little),
          "an integer is the same in all widths");
  static_cast<void>(result_of([&] { return to_bool(value); }));
  const auto date = result_of([&] { return to_date(value); });
  if (date && !date->is_zero()) {
    const Text shown = to_iso_text(*date);
    const auto again = result_of([&] { return date_from_iso_text(shown); });
    require(again.has_value(), "a date's text is a date");
    require(to_iso_text(*again) == shown, "a date's text does not change by reading it");
  }
  require(trim(trim(text)) == trim(text), "there are no blanks left to take away");
  require(from_stored_utf8(to_display_utf8(text)).size() == text.size(),
          "a text for people has as many code units");
}

}  // namespace tarnwick::fuzz
