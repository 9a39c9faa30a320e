#pragma once

#include <exception>
#include <memory>
#include <optional>
#include <vector>

#include "ado/engine.h"
#include "engines/odbc/result.h"
#include "engines/odbc/statement_text.h"

namespace tarnwick::odbc {

class OdbcSession;
class Parameters;

/// The result of one statement, and the writes to the table that it reads.
///
/// Rows are locked by a hint on the select and written by keyed statements: that holds on every
/// driver alike, where positioned writes through a scroll-lock cursor do not.
class OdbcRowset final : public ado::Rowset {
 public:
  /// Runs the statement. Only inside a step of `session`, which must outlive the rowset.
  OdbcRowset(OdbcSession& session, const ado::RowsetRequest& request);
  ~OdbcRowset() override;
  OdbcRowset(const OdbcRowset&) = delete;
  OdbcRowset& operator=(const OdbcRowset&) = delete;

  [[nodiscard]] const std::vector<ado::Column>& columns() const override { return columns_; }
  void fetch(ado::RowBuffer& rows, std::size_t limit) override;
  void update(std::span<const ado::Cell> row, std::span<const ado::Assignment> assigned) override;
  void insert(std::span<const ado::Assignment> assigned) override;

  /// Reads what is on the way, so that the connection is free. An error is kept for the next fetch,
  /// but for a lost connection's, which is thrown too.
  void take_in_rest();

 private:
  void open_and_lock(TextView statement);
  void open_as_committed(TextView statement);
  void take_in_all(TextView statement);
  [[nodiscard]] const TableSelect& base_table() const;
  [[nodiscard]] std::size_t column_named(TextView name) const;
  void write(TextView statement, Parameters& parameters, bool must_find_row);
  void read_from_server(ado::RowBuffer& rows, std::size_t limit);

  OdbcSession& session_;
  std::optional<TableSelect> table_;
  std::vector<ado::Column> columns_;
  std::vector<SqlType> types_;
  std::unique_ptr<Result> result_;  // null once all its rows were read
  // Rows that were taken in before they were asked for, and how many of them were handed out.
  std::optional<ado::RowBuffer> taken_in_;
  std::size_t handed_out_ = 0;
  std::exception_ptr pending_error_;
};

}  // namespace tarnwick::odbc
