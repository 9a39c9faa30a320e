#pragma once

#include <limits>
#include <memory>
#include <vector>

#include "ado/engine.h"
#include "engines/odbc/conversion.h"
#include "engines/odbc/handles.h"

namespace tarnwick::odbc {

inline constexpr std::size_t kAllRows = std::numeric_limits<std::size_t>::max();

/// Reads the first result of an executed statement: blocks of rows into bound columns; from the
/// first long column on, column by column, long values in parts. Owns the statement.
class Result final {
 public:
  /// Describes the columns. Throws AdoError.
  explicit Result(Handle statement);
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;

  /// Empty when the statement returned no records.
  [[nodiscard]] const std::vector<ado::Column>& columns() const { return columns_; }
  [[nodiscard]] const std::vector<SqlType>& types() const { return types_; }

  /// Appends up to `limit` further rows; fewer mean the end, where further results of the statement
  /// are passed over and their errors thrown. Throws AdoError, after which the result is over.
  void read(ado::RowBuffer& rows, std::size_t limit);

  /// Passes over what is left; an error of a later result is thrown.
  void finish();

 private:
  struct BoundColumn {
    std::vector<std::byte> values;
    std::vector<SQLLEN> lengths;
  };

  void describe();
  void bind();
  [[nodiscard]] bool next_block();
  void append_row(ado::RowBuffer& rows);
  void append_unbound(ado::RowBuffer& rows, std::size_t column);
  void append_long_text(ado::RowBuffer& rows, std::size_t column);
  void append_long_bytes(ado::RowBuffer& rows, std::size_t column);
  void append_bytes_of_size(ado::RowBuffer& rows, std::size_t column, std::size_t size);
  void append_bytes_to_end(ado::RowBuffer& rows, std::size_t column);
  /// One part of a value; false when there is none left.
  [[nodiscard]] bool get_part(std::size_t column, SQLSMALLINT c_type, void* buffer,
                              std::size_t capacity, SQLLEN& length);

  Handle statement_;
  std::vector<ado::Column> columns_;
  std::vector<SqlType> types_;
  std::vector<Transfer> transfers_;
  // Columns before the first long one; the driver writes a block of rows into them.
  std::vector<BoundColumn> bound_;
  std::vector<SQLUSMALLINT> statuses_;
  SQLULEN fetched_ = 0;
  std::size_t next_in_block_ = 0;
  bool is_bound_ = false;
  bool over_ = false;
  std::vector<char16_t> part_;
};

}  // namespace tarnwick::odbc
