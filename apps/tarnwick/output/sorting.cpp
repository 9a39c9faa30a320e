#include "apps/tarnwick/output/sorting.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <type_traits>

#include "apps/tarnwick/output/values.h"
#include "runtime/case_mapping.h"

namespace tarnwick::cli {
namespace {

// The time of a day before the first one is counted forward too.
double in_order(Date date) {
  const double day = std::trunc(date.days);
  return day + std::abs(date.days - day);
}

}  // namespace

SortKey sort_key(TextView text) { return fold(text); }

SortKey sort_key(const AttributeValue& value) {
  return std::visit(
      [&]<class T>(const T& held) -> SortKey {
        if constexpr (std::is_same_v<T, Empty>) {
          return std::monostate();
        } else if constexpr (std::is_same_v<T, Date>) {
          return held.is_zero() ? SortKey() : SortKey(in_order(held));
        } else if constexpr (std::is_same_v<T, Text>) {
          return sort_key(TextView(held));
        } else if constexpr (std::is_enum_v<T>) {
          return sort_key(TextView(from_stored_utf8(display(value))));
        } else {
          return static_cast<double>(held);
        }
      },
      value);
}

void Order::add_options(CLI::App& command) {
  command
      .add_option_function<std::string>(
          "--sort",
          [this](const std::string& name) {
            const auto found = std::ranges::find_if(columns_, [&](const std::string& column) {
              return equals_ignoring_case(from_stored_utf8(column), from_stored_utf8(name));
            });
            if (found == columns_.end()) {
              throw CLI::ValidationError(fmt::format("--sort: there is no column '{}', but {}.",
                                                     name, fmt::join(columns_, ", ")));
            }
            by_ = static_cast<std::size_t>(found - columns_.begin());
          },
          "sort by this column: numbers and dates by value, texts without regard to case")
      ->type_name("COLUMN");
  command.add_flag("--reverse", reverse_, "the last line first");
}

std::vector<std::size_t> Order::arrange(std::size_t count, const KeyOf& key_of) const {
  std::vector<std::size_t> places(count);
  std::iota(places.begin(), places.end(), std::size_t{0});
  if (!by_) {
    if (reverse_) std::ranges::reverse(places);
    return places;
  }
  std::vector<SortKey> keys;
  keys.reserve(count);
  for (const std::size_t line : places) keys.push_back(key_of(*by_, line));
  std::ranges::stable_sort(places, [&](std::size_t a, std::size_t b) {
    return reverse_ ? keys[b] < keys[a] : keys[a] < keys[b];
  });
  return places;
}

}  // namespace tarnwick::cli
