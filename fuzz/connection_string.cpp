// Connection strings: taken apart, put together again, and shown in logs.

#include "ado/connection_string.h"

#include <optional>

#include "ado/error.h"
#include "fuzz/target.h"
#include "runtime/case_mapping.h"

namespace tarnwick::fuzz {
namespace {

std::optional<ado::ConnectionString> parsed(TextView text) {
  try {
    return ado::ConnectionString::parse(text);
  } catch (const ado::AdoError& error) {
    require(error.number() == 3001, "a malformed string is error 3001");
    return std::nullopt;
  }
}

void append_doubling(Text& text, TextView piece, char16_t doubled) {
  for (const char16_t unit : piece) text.append(unit == doubled ? 2 : 1, unit);
}

/// Every value in quotes: any text can stand so.
Text written(const ado::ConnectionString& string) {
  Text text;
  for (const auto& item : string.items()) {
    append_doubling(text, item.name, u'=');
    text += u"=\"";
    append_doubling(text, item.value, u'"');
    text += u"\";";
  }
  return text;
}

}  // namespace

void attempt(Input input) {
  const Text text = from_stored_utf8(input.rest());
  const Text shown = ado::ConnectionString::without_passwords(text);
  const auto string = parsed(text);
  if (!string) return;

  for (const auto& item : string->items()) {
    require(string->find(item.name) == item.value, "an item is found by its name");
  }
  const auto again = parsed(written(*string));
  require(again.has_value(), "what was written in quotes is read");
  require(again->items().size() == string->items().size(),
          "as many items are read as were written");
  for (const auto& item : string->items()) {
    require(again->find(item.name) == item.value, "a value in quotes is read as it was");
  }
  const auto logged = parsed(shown);
  // What braces hold together is known by the provider, whose name may have been blanked as well.
  require(logged.has_value() || text.find(u'{') != Text::npos,
          "what logs show of a string can be read");
  if (!logged) return;
  for (const auto& item : logged->items()) {
    const bool password =
        equals_ignoring_case(item.name, u"Password") || equals_ignoring_case(item.name, u"PWD");
    require(!password || item.value == u"***", "no log shows a password");
  }
}

}  // namespace tarnwick::fuzz
