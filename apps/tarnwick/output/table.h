#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/text.h"

struct libscols_line;
struct libscols_table;

namespace tarnwick::cli {

/// `text` with everything that would move the cursor or change the terminal (control characters,
/// embedded NULs, line ends) written as \xNN, so that what is stored cannot play tricks.
/// `keep_lines`: line feeds and tabs stay, carriage returns before a line feed go.
[[nodiscard]] std::string printable(std::string_view text, bool keep_lines = false);

/// The same of a text of the object model.
[[nodiscard]] std::string printable(TextView text);

/// An aligned table. On a terminal it keeps to the terminal's width by cutting the columns that may
/// be cut; elsewhere every cell is whole.
class Table final {
 public:
  enum class Column {
    kWhole,
    kMayBeCut,
    kNumber,
    kTree,  // shows the tree, where lines have parents; at most one
  };

  /// Throws std::bad_alloc, as all members do, when memory is short.
  Table();

  void add_column(std::string_view heading, Column column = Column::kWhole);

  /// Cells in the order of the columns. Returns the line's number, for its children.
  std::size_t add_line(const std::vector<std::string>& cells,
                       std::optional<std::size_t> parent = std::nullopt);

  /// The table with a line end; nothing at all when there are no lines.
  [[nodiscard]] std::string text();

 private:
  struct Unref {
    void operator()(libscols_table* table) const;
  };

  std::unique_ptr<libscols_table, Unref> table_;
  std::vector<libscols_line*> lines_;
};

}  // namespace tarnwick::cli
