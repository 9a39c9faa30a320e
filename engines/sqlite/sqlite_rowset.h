#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engines/sqlite/open_database.h"
#include "engines/sqlite/query.h"

namespace tarnwick::sqlite {

/// How a column's values are read, by its declared type.
enum class Reading { kAsStored, kBoolean, kSmallInteger, kDate };

/// What is known of a statement's records before they are read.
struct Shape {
  std::vector<ado::Column> columns;
  std::vector<Reading> readings;
  std::vector<std::string> origins;    // name in the base table; empty for an expression
  std::string base_table;              // empty unless all columns that have a table have the same
  std::shared_ptr<const Table> table;  // the base table, where it has a key that the columns hold
  std::vector<std::size_t> key;        // columns that hold the key, in the key's order

  [[nodiscard]] static Shape of(sqlite3_stmt* statement, const Catalog& catalog);
};

/// The records of a statement: what reading and locking rowsets share.
class SqliteRowset : public ado::Rowset {
 public:
  [[nodiscard]] const std::vector<ado::Column>& columns() const override { return shape().columns; }
  void update(std::span<const ado::Cell> row, std::span<const ado::Assignment> assigned) override;
  void insert(std::span<const ado::Assignment> assigned) override;

 protected:
  SqliteRowset(OpenDatabase& database, Query query, std::shared_ptr<const Shape> records);

  /// Runs the statement and appends all its rows to `rows`.
  void read_all(ado::RowBuffer& rows);
  /// Runs the statement and appends the row with the key `key`, if there is one.
  [[nodiscard]] bool read_row(std::span<const ado::Cell> key, ado::RowBuffer& rows);
  [[nodiscard]] std::vector<ado::Cell> key_of(std::span<const ado::Cell> row) const;
  [[nodiscard]] bool assigns_key(std::span<const ado::Assignment> assigned) const;

  [[nodiscard]] const Shape& shape() const { return *shape_; }

  /// The values of the key, in its order, where the statement looks for a row by its whole key.
  [[nodiscard]] std::optional<std::vector<StoredValue>> key_looked_for() const;

  OpenDatabase& database_;
  const Query query_;

 private:
  /// Hands out the statement's rows, or those of the other spelling of the key that it looks for,
  /// until `take_row` returns false.
  template <class TakeRow>
  void for_each_row(Database& database, TakeRow take_row);
  /// Whether there was a row.
  template <class TakeRow>
  [[nodiscard]] bool run(Database& database, std::span<const StoredValue> values, TakeRow take_row);
  /// The statement's values with the key in the spelling that a row has.
  [[nodiscard]] std::optional<std::vector<StoredValue>> values_of_other_spelling(
      Database& database) const;
  /// Where among the statement's values that of each key column stands; empty unless it looks for a
  /// row by its whole key.
  [[nodiscard]] std::vector<std::size_t> key_positions() const;
  void append_row(sqlite3_stmt* statement, ado::RowBuffer& rows) const;
  [[nodiscard]] const std::string& origin_of(const ado::Assignment& assignment) const;
  /// Refuses to give the row with the key `present` (a new one has none) the key of another row in
  /// other letters: SQLite would take them for two.
  void require_free_key(std::span<const StoredValue> present,
                        std::span<const ado::Assignment> assigned);

  std::shared_ptr<const Shape> shape_;
  // The statement that is run in the place of the query's, where that reads payloads.
  std::optional<std::string> without_payloads_;
  std::int64_t schema_version_ = 0;  // for which that holds
};

}  // namespace tarnwick::sqlite
