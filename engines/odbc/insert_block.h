#pragma once

#include <span>
#include <vector>

#include "ado/engine.h"
#include "engines/odbc/conversion.h"
#include "engines/odbc/parameters.h"

namespace tarnwick::odbc {

/// A column of a table, as a row is inserted into it.
struct InsertColumn {
  Text name;  // quoted
  SqlType type;
  friend bool operator==(const InsertColumn& a, const InsertColumn& b) { return a.name == b.name; }
};

/// A statement that inserts so many rows of parameters into the table; one row of defaults where
/// there are no columns.
[[nodiscard]] Text insert_statement(TextView table, const std::vector<InsertColumn>& columns,
                                    std::size_t rows);

/// Rows that go into one table together, in one statement with parameters.
class InsertBlock final {
 public:
  /// `table` as it stands in a statement; not empty: `columns`.
  InsertBlock(Text table, std::vector<InsertColumn> columns);

  /// Whether a block may hold the row beside others: a long one is better sent from where it is.
  [[nodiscard]] static bool may_hold(std::span<const ado::Assignment> row);

  /// Whether the row goes into the same columns of the same table, with values of the same types,
  /// and there is room for it.
  [[nodiscard]] bool fits(TextView table, std::span<const InsertColumn> columns,
                          std::span<const ado::Assignment> row) const;
  void add(std::span<const ado::Assignment> row);

  [[nodiscard]] Text statement() const { return insert_statement(table_, columns_, rows()); }
  /// Its parameters, which point into this block.
  void add_to(Parameters& parameters) const;

 private:
  [[nodiscard]] std::size_t rows() const { return values_.size() / columns_.size(); }

  Text table_;
  std::vector<InsertColumn> columns_;
  std::vector<Variant> kinds_;  // of each column, a value of the type that its values have, or Null
  std::vector<Variant> values_;  // row by row
  std::size_t bytes_ = 0;
};

}  // namespace tarnwick::odbc
