#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "apps/tarnwick/session/session.h"

namespace CLI {
class App;
}

namespace tarnwick::cli {

/// What a line is sorted by: nothing, a number, or a text that is folded. They sort in this order.
using SortKey = std::variant<std::monostate, double, Text>;

/// Numbers and dates by value, no date as nothing; enumerations by name; texts without regard to
/// case.
[[nodiscard]] SortKey sort_key(const AttributeValue& value);
[[nodiscard]] SortKey sort_key(TextView text);

/// The switches --sort and --reverse of a listing.
class Order final {
 public:
  /// `columns`: those that it may be sorted by.
  explicit Order(std::vector<std::string> columns) : columns_(std::move(columns)) {}

  /// Makes the switches known to `command`; this must outlive it.
  void add_options(CLI::App& command);

  /// Of the column with this place in `columns`, in the line with that number.
  using KeyOf = std::function<SortKey(std::size_t column, std::size_t line)>;
  /// Which of `count` lines come first, second, ...; lines that are alike stay in their order.
  [[nodiscard]] std::vector<std::size_t> arrange(std::size_t count, const KeyOf& key_of) const;

  /// `lines` in the order that was asked for.
  template <class Line>
  void apply(std::vector<Line>& lines, const KeyOf& key_of) const {
    std::vector<Line> sorted;
    sorted.reserve(lines.size());
    for (const std::size_t place : arrange(lines.size(), key_of)) {
      sorted.push_back(std::move(lines[place]));
    }
    lines = std::move(sorted);
  }

 private:
  std::vector<std::string> columns_;
  std::optional<std::size_t> by_;
  bool reverse_ = false;
};

}  // namespace tarnwick::cli
