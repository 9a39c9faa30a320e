#include "engines/odbc/rowset.h"

#include <utility>

#include "ado/error.h"
#include "engines/odbc/parameters.h"
#include "engines/odbc/session.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;
using ado::Cell;

bool is_lock_timeout(const AdoError& error) { return error.native() == ado::kNativeLockTimeout; }

}  // namespace

OdbcRowset::OdbcRowset(OdbcSession& session, const ado::RowsetRequest& request)
    : session_(session), table_(parse_table_select(request.statement)) {
  if (request.locks_rows()) {
    open_and_lock(request.statement);
    return;
  }
  const bool passes_locks =
      request.held_rows != ado::HeldRowReading::kWait && table_ && session_.is_sql_server();
  if (passes_locks && request.held_rows == ado::HeldRowReading::kAsCommitted) {
    open_as_committed(request.statement);
    return;
  }
  result_ = passes_locks ? session_.run(without_waiting(request.statement, *table_))
                         : session_.run(request.statement);
  columns_ = result_->columns();
  types_ = result_->types();
  if (columns_.empty()) {
    std::exchange(result_, nullptr)->finish();
  } else {
    session_.set_reading(this);
  }
  session_.touched_data();
}

OdbcRowset::~OdbcRowset() {
  if (session_.is_reading(this)) session_.set_reading(nullptr);
}

// All rows are read at once, so that what is held is met when the rowset opens.
void OdbcRowset::open_as_committed(TextView statement) {
  try {
    take_in_all(as_committed(statement, *table_));
  } catch (const AdoError& error) {
    if (!is_lock_timeout(error)) throw;
    // The row's own versions, where the database keeps them for who asks.
    if (!session_.run_in_snapshot([&] { take_in_all(statement); })) throw ado::lock_timeout();
  }
  result_.reset();
  session_.touched_data();
}

void OdbcRowset::take_in_all(TextView statement) {
  result_ = session_.run(statement);
  columns_ = result_->columns();
  types_ = result_->types();
  taken_in_.emplace(columns_.size());
  result_->read(*taken_in_, kAllRows);
}

// All rows are read at once: what is locked is decided when the rowset opens, not as it is read.
void OdbcRowset::open_and_lock(TextView statement) {
  if (!session_.is_sql_server()) throw AdoError(AdoErrorNumber::kFeatureNotAvailable);
  if (!table_) {
    // The server tells what is wrong with it; there is nothing to lock in one without records.
    const auto result = session_.run(statement);
    if (!result->columns().empty()) throw AdoError(AdoErrorNumber::kFeatureNotAvailable);
    result->finish();
    session_.touched_data();
    return;
  }
  try {
    take_in_all(with_row_lock(statement, *table_));
  } catch (const AdoError& error) {
    // A row that cannot be had within the time-out is not shown; whoever reads it next without a
    // lock is told why.
    if (!is_lock_timeout(error)) throw;
  }
  result_.reset();
  session_.touched_data();
  if (columns_.empty()) {
    const auto described = session_.run(columns_only(statement, *table_));
    columns_ = described->columns();
    types_ = described->types();
  }
}

void OdbcRowset::fetch(ado::RowBuffer& rows, std::size_t limit) {
  const std::size_t taken_in = taken_in_ ? taken_in_->rows() : 0;
  for (; limit != 0 && handed_out_ < taken_in; --limit) rows.add_row(*taken_in_, handed_out_++);
  if (limit == 0) return;
  if (pending_error_) std::rethrow_exception(std::exchange(pending_error_, nullptr));
  if (result_) session_.step([&] { read_from_server(rows, limit); });
}

void OdbcRowset::read_from_server(ado::RowBuffer& rows, std::size_t limit) {
  try {
    const std::size_t before = rows.rows();
    result_->read(rows, limit);
    if (rows.rows() - before == limit) return;
  } catch (...) {
    session_.set_reading(nullptr);
    result_.reset();
    throw;
  }
  session_.set_reading(nullptr);
  result_.reset();
}

void OdbcRowset::take_in_rest() {
  if (!taken_in_) taken_in_.emplace(columns_.size());
  try {
    result_->read(*taken_in_, kAllRows);
  } catch (const ado::ConnectionLost&) {
    result_.reset();
    pending_error_ = std::current_exception();
    throw;
  } catch (const AdoError& error) {
    pending_error_ = std::current_exception();
    result_.reset();
    session_.look_after_error(error);
  }
  result_.reset();
}

const TableSelect& OdbcRowset::base_table() const {
  if (!table_) throw AdoError(AdoErrorNumber::kFeatureNotAvailable);
  return *table_;
}

std::size_t OdbcRowset::column_named(TextView name) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (equals_ignoring_case(columns_[i].name, name)) return i;
  }
  throw AdoError(AdoErrorNumber::kUnspecified,
                 join({u"The statement does not read the key column ", name,
                       u": a row cannot be identified for updating."}));
}

void OdbcRowset::update(std::span<const Cell> row, std::span<const ado::Assignment> assigned) {
  const TableSelect& table = base_table();
  if (assigned.empty()) return;
  session_.step([&] {
    Parameters parameters;
    Text statement = join({u"UPDATE ", table.table, u" SET "});
    TextView separator;
    for (const ado::Assignment& assignment : assigned) {
      statement.append(separator).append(session_.quote(columns_[assignment.column].name));
      statement.append(u" = ?");
      parameters.add(*assignment.value, types_[assignment.column]);
      separator = u", ";
    }
    std::vector<Variant> key;
    const std::vector<Text>& key_columns = session_.key_columns(table);
    key.reserve(key_columns.size());  // the parameters point into it
    separator = u" WHERE ";
    for (const Text& name : key_columns) {
      const std::size_t column = column_named(name);
      statement.append(separator).append(session_.quote(columns_[column].name));
      separator = u" AND ";
      if (row[column].is_null()) {
        statement.append(u" IS NULL");
        continue;
      }
      // A wide value beside a narrow column would keep the server from seeking in the key's index,
      // and the scan would wait for rows that others hold.
      const bool narrow = session_.is_sql_server() && is_narrow_text(types_[column].code);
      statement.append(narrow ? u" = CAST(? AS varchar(8000))" : u" = ?");
      parameters.add(key.emplace_back(row[column].to_variant()), types_[column]);
    }
    write(statement, parameters, true);
  });
}

void OdbcRowset::insert(std::span<const ado::Assignment> assigned) {
  const TableSelect& table = base_table();
  session_.step([&] {
    std::vector<InsertColumn> columns;
    for (const ado::Assignment& assignment : assigned) {
      columns.push_back(
          {session_.quote(columns_[assignment.column].name), types_[assignment.column]});
    }
    if (session_.insert_later(table.table, columns, assigned)) return;
    Parameters parameters;
    for (const ado::Assignment& assignment : assigned) {
      parameters.add(*assignment.value, types_[assignment.column]);
    }
    write(insert_statement(table.table, columns, 1), parameters, false);
  });
}

void OdbcRowset::write(TextView statement, Parameters& parameters, bool must_find_row) {
  Handle handle = session_.statement();
  const SQLRETURN result = parameters.execute(handle, statement);
  // A driver that cannot count says -1; then the statement's success has to do.
  SQLLEN count = result == SQL_NO_DATA ? 0 : -1;
  if (result != SQL_NO_DATA && must_find_row) {
    handle.check(handle.api().row_count(handle.get(), &count));
  }
  Result(std::move(handle)).finish();
  session_.touched_data();
  if (must_find_row && count == 0) throw AdoError(AdoErrorNumber::kRowNotLocated);
}

}  // namespace tarnwick::odbc
