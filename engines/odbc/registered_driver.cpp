#include "engines/odbc/registered_driver.h"

#include <algorithm>
#include <array>

#include "engines/odbc/odbc_items.h"
#include "engines/odbc/ole_db_items.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc {
namespace {

using Item = ado::ConnectionString::Item;

// Driver managers differ in where they see the end of a value in braces: what they could take for
// items of its own names none of those that decide about a library.
constexpr std::array<TextView, 4> kDecisive{u"driver", u"dsn", u"savefile", u"loadext"};

bool could_hold_items(TextView value) {
  if (value.find_first_of(u";{}") == TextView::npos) return false;
  const Text folded = fold(value);
  return std::ranges::any_of(kDecisive,
                             [&](TextView word) { return folded.find(word) != Text::npos; });
}

bool is_registered(TextView driver, std::span<const Text> drivers) {
  return std::ranges::any_of(drivers,
                             [&](const Text& name) { return equals_ignoring_case(name, driver); });
}

void require_known_source(const Item& item, TextView name, std::span<const Text> drivers,
                          std::span<const DataSource> sources) {
  for (const DataSource& source : sources) {
    if (!equals_ignoring_case(source.name, name)) continue;
    if (is_registered(without_braces(trim(source.driver)), drivers)) return;
    refuse_item(item.name,
                u"names a data source whose driver is not named as it is registered; this service "
                u"loads no driver by its file.");
  }
  refuse_item(item.name, u"names no data source that this service knows.");
}

void require_registered(const Item& item, std::span<const Text> drivers,
                        std::span<const DataSource> sources) {
  const Text value = without_braces(trim(item.value));
  if (could_hold_items(value)) {
    refuse_item(item.name, u"holds what a driver manager could take for items of its own.");
  }
  const Text name = fold(odbc_name(trim(item.name)));
  if (name == u"driver") {
    if (is_registered(value, drivers)) return;
    refuse_item(
        item.name,
        u"is not the name of a registered driver; this service loads no driver by its file.");
  }
  if (name == u"dsn") return require_known_source(item, value, drivers, sources);
  if (name == u"filedsn" || name == u"savefile") {
    refuse_item(item.name, u"names a file, which this service does not take a driver from.");
  }
  if (name == u"loadext") {
    refuse_item(item.name, u"names a library, and this service loads none by its file.");
  }
}

}  // namespace

void require_registered_driver(const ado::ConnectionString& string, std::span<const Text> drivers,
                               std::span<const DataSource> sources) {
  const Text provider = fold(string.find(u"Provider").value_or(Text()));
  if (!provider.starts_with(u"msdasql")) {
    // The engine chooses the driver; all that can go wrong is how its values are read.
    for (const Item& item : string.items()) {
      if (could_hold_items(item.value)) {
        refuse_item(item.name, u"holds what a driver manager could take for items of its own.");
      }
    }
    return;
  }
  const ado::ConnectionString all = with_extended_properties(string);
  bool named = false;
  for (const Item& item : all.items()) {
    require_registered(item, drivers, sources);
    const Text name = fold(odbc_name(trim(item.name)));
    named = named || name == u"driver" || name == u"dsn";
  }
  // The driver manager would take the data source that is its default.
  if (!named) refuse_item(u"Driver", u"is missing.");
}

}  // namespace tarnwick::odbc
