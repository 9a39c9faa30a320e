#include "engines/odbc/odbc_items.h"

#include "engines/odbc/statement_text.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc {

using ado::ConnectionString;

bool is_in_braces(TextView value) {
  if (value.size() < 2 || value.front() != u'{' || value.back() != u'}') return false;
  const TextView inside = value.substr(1, value.size() - 2);
  for (std::size_t i = inside.find(u'}'); i != TextView::npos; i = inside.find(u'}', i + 2)) {
    if (i + 1 == inside.size() || inside[i + 1] != u'}') return false;
  }
  return true;
}

Text without_braces(TextView value) {
  return is_in_braces(value) ? without_marks(value) : Text(value);
}

TextView odbc_name(TextView item) {
  if (equals_ignoring_case(item, u"Data Source")) return u"DSN";
  if (equals_ignoring_case(item, u"Initial Catalog")) return u"Database";
  if (equals_ignoring_case(item, u"User ID")) return u"UID";
  if (equals_ignoring_case(item, u"Password")) return u"PWD";
  return item;
}

ConnectionString with_extended_properties(const ConnectionString& string) {
  constexpr TextView kExtended = u"Extended Properties";
  const std::optional<Text> inner = string.find(kExtended);
  if (!inner) return string;
  ConnectionString result;
  const auto add = [&](const ConnectionString& from) {
    for (const ConnectionString::Item& item : from.items()) {
      const TextView name = odbc_name(item.name);
      const bool is_new = !equals_ignoring_case(name, kExtended) && !result.find(name);
      if (is_new) result.set(name, item.value);
    }
  };
  add(string);
  add(ConnectionString::parse(join({u"Provider=MSDASQL;", *inner})));
  return result;
}

}  // namespace tarnwick::odbc
