#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::cli {

/// `text` with everything that would move the cursor or change the terminal (control characters,
/// embedded NULs, line ends) written as \xNN, so that what is stored cannot play tricks.
/// `keep_lines`: line feeds and tabs stay, carriage returns before a line feed go.
[[nodiscard]] std::string printable(std::string_view text, bool keep_lines = false);

/// The same of a text of the object model.
[[nodiscard]] std::string printable(TextView text);

/// An aligned table. On a terminal it keeps to the terminal's width by cutting the columns that may
/// be cut, as far as there are any; elsewhere every cell is whole.
class Table final {
 public:
  enum class Column {
    kWhole,
    kMayBeCut,
    kNumber,
    kTree,  // shows the tree, where lines have parents; at most one
  };

  void add_column(std::string_view heading, Column column = Column::kWhole);

  /// Cells in the order of the columns. Returns the line's number, for its children. A parent comes
  /// before its children, and its children stand below it in the table.
  std::size_t add_line(const std::vector<std::string>& cells,
                       std::optional<std::size_t> parent = std::nullopt);

  /// The table with a line end; nothing at all when there are no lines. `room`: the columns of the
  /// terminal that it is for; nothing where it is for none.
  [[nodiscard]] std::string text(std::optional<std::size_t> room) const;
  /// The same for standard output.
  [[nodiscard]] std::string text() const;

 private:
  struct Heading {
    std::string text;
    Column column;
  };
  struct Line {
    std::vector<std::string> cells;
    std::optional<std::size_t> parent;
    std::vector<std::size_t> children;
  };

  [[nodiscard]] std::vector<const Line*> in_order() const;
  [[nodiscard]] std::string branch_before(const Line& line) const;
  [[nodiscard]] std::vector<std::vector<std::string>> drawn() const;
  [[nodiscard]] std::vector<std::size_t> widths(const std::vector<std::vector<std::string>>& drawn,
                                                std::optional<std::size_t> room) const;

  std::vector<Heading> headings_;
  std::vector<Line> lines_;
};

}  // namespace tarnwick::cli
