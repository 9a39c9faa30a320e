#include "engines/odbc/session.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <utility>

#include "engines/odbc/driver_lists.h"
#include "engines/odbc/registered_driver.h"
#include "engines/odbc/rowset.h"
#include "runtime/case_mapping.h"
#include "runtime/conversions.h"

namespace tarnwick::odbc {

struct MaintainedTable {
  TextView name;
  std::initializer_list<TextView> key;
};

namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

// What the engine relies on, whatever the server's and the driver's defaults: whole long values,
// counted rows, an error that does not take the transaction with it, quoted names.
constexpr TextView kOptions =
    u"SET TEXTSIZE 2147483647; SET NOCOUNT OFF; SET XACT_ABORT OFF; "
    u"SET ANSI_NULLS, ANSI_PADDING, ANSI_WARNINGS, QUOTED_IDENTIFIER ON; SET LOCK_TIMEOUT -1";

// A database that reads committed rows from versions would let a reader pass a row that another
// session maintains. Repeatable read makes readers wait there as they do elsewhere.
constexpr TextView kMatchIsolation =
    u"IF EXISTS (SELECT 1 FROM sys.databases WHERE database_id = DB_ID() "
    u"AND is_read_committed_snapshot_on = 1) "
    u"SET TRANSACTION ISOLATION LEVEL REPEATABLE READ "
    u"ELSE SET TRANSACTION ISOLATION LEVEL READ COMMITTED";

// Seconds.
constexpr std::uint32_t kConnectTimeout = 15;
constexpr std::uint32_t kProbeTimeout = 5;

constexpr std::int32_t kNativeNoSuchObject = 208;

constexpr MaintainedTable kMaintainedTables[] = {
    {u"DW_SEC_COMP", {u"CompID"}},
    {u"DW_SEC_PC", {u"MACNbr", u"ComputerID", u"CompID"}},
    {u"DW_Reports", {u"ReportName"}},
};

Text text_of(const ado::Cell& cell) {
  const Variant value = cell.to_variant();
  const Text* text = std::get_if<Text>(&value);
  return text != nullptr ? *text : Text();
}

bool is_set_statement(TextView statement) {
  constexpr TextView kSet = u"SET ";
  const TextView text = trim(statement);
  return text.size() > kSet.size() && equals_ignoring_case(text.substr(0, kSet.size()), kSet);
}

// A table that somebody else made may have anything in the columns of the key.
Text key_text_of(const ado::Cell& cell) {
  try {
    return to_text(cell.to_variant());
  } catch (const Error&) {
    return {};
  }
}

/// Visits the rows of a small result, which have `columns` at least.
template <class F>
void for_each_row(Result& result, std::size_t columns, F&& visit) {
  ado::RowBuffer rows(result.columns().size());
  result.read(rows, kAllRows);
  if (rows.rows() > 0 && result.columns().size() < columns) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   u"The database server's answer lacks columns that were asked for.");
  }
  std::vector<ado::Cell> cells(result.columns().size());
  for (std::size_t row = 0; row < rows.rows(); ++row) {
    rows.read_row(row, cells);
    visit(std::as_const(cells));
  }
}

/// The number of the error with which the server refuses `action`, 0 where it does not. Throws all
/// other errors.
template <class F>
std::int32_t refusal_of(F&& action) {
  try {
    action();
    return 0;
  } catch (const ado::ConnectionLost&) {
    throw;
  } catch (const AdoError& error) {
    if (error.native() == 0) throw;
    return error.native();
  }
}

}  // namespace

OdbcSession::OdbcSession(OdbcApi& api, const ado::ConnectionString& string,
                         std::uint32_t statement_timeout, Drivers drivers)
    : environment_(Handle::environment(api)),
      connection_(Handle::make(SQL_HANDLE_DBC, environment_)),
      statement_timeout_(statement_timeout) {
  const std::vector<Text> installed = list_drivers(environment_);
  if (drivers == Drivers::kRegistered) {
    require_registered_driver(string, installed, list_data_sources(environment_));
  }
  const OdbcConnect target = odbc_connect(string, installed);
  connect(target);
  learn_server(target);
  if (is_sql_server_) step([&] { set_options(); });
}

OdbcSession::~OdbcSession() {
  if (!lost_) leave_transaction();
}

// Some drivers do not disconnect inside a transaction; a failure is the connection's own end.
void OdbcSession::leave_transaction() {
  if (!in_transaction_) return;
  static_cast<void>(connection_.api().end_tran(SQL_HANDLE_DBC, connection_.get(), SQL_ROLLBACK));
}

void OdbcSession::connect(const OdbcConnect& target) {
  // What nobody asked for is not insisted on.
  const SQLRETURN limited =
      set(SQL_ATTR_LOGIN_TIMEOUT, target.connect_timeout.value_or(kConnectTimeout));
  if (target.connect_timeout) connection_.check(limited);
  if (target.packet_size) connection_.check(set(SQL_ATTR_PACKET_SIZE, *target.packet_size));
  const std::uint32_t general_timeout = target.general_timeout.value_or(statement_timeout_);
  const Text limited_text = with_free_tds_timeout(target.text, general_timeout);
  log_in(target.for_free_tds ? limited_text : target.text, target.password);
  // A data source's name does not tell its driver before.
  if (!target.for_free_tds &&
      find_ignoring_case(ask_driver(SQL_DRIVER_NAME), u"tdsodbc") != Text::npos) {
    connection_.check(connection_.api().disconnect(connection_.get()));
    log_in(limited_text, target.password);
  }
  // FreeTDS passes over this one, which is why it is told in its own words.
  static_cast<void>(set(SQL_ATTR_CONNECTION_TIMEOUT, general_timeout));
}

SQLRETURN OdbcSession::set(SQLINTEGER attribute, std::uintptr_t value) {
  return connection_.api().set_connect_attr(connection_.get(), attribute, attribute_value(value),
                                            SQL_IS_UINTEGER);
}

void OdbcSession::log_in(TextView text, TextView password) {
  if (text.size() > SQL_MAX_OPTION_STRING_LENGTH * 64) {
    throw AdoError(AdoErrorNumber::kInvalidArgument, u"The connection string is too long.");
  }
  const SQLRETURN result = connection_.api().driver_connect(
      connection_.get(), nullptr, wide(text), static_cast<SQLSMALLINT>(text.size()), nullptr, 0,
      nullptr, SQL_DRIVER_NOPROMPT);
  if (!SQL_SUCCEEDED(result)) raise_connect_diagnostics(connection_, password);
}

Text OdbcSession::ask_driver(SQLUSMALLINT what) const {
  std::array<char16_t, 128> answer{};
  SQLSMALLINT length = 0;
  connection_.check(connection_.api().get_info(
      connection_.get(), what, answer.data(),
      static_cast<SQLSMALLINT>(sizeof answer - sizeof(char16_t)), &length));
  return Text(answer.begin(), std::find(answer.begin(), answer.end(), u'\0'));
}

void OdbcSession::learn_server(const OdbcConnect& target) {
  is_sql_server_ = target.for_sql_server ||
                   find_ignoring_case(ask_driver(SQL_DBMS_NAME), u"SQL Server") != Text::npos;
  if (!is_sql_server_) quote_mark_ = ask_driver(SQL_IDENTIFIER_QUOTE_CHAR);
}

void OdbcSession::set_options() {
  run_where_known(kOptions);
  match_isolation();
}

void OdbcSession::match_isolation() { run_where_known(kMatchIsolation); }

// An old server lacks the one or other option, and then also what it is to switch off.
void OdbcSession::run_where_known(TextView statement) {
  static_cast<void>(refusal_of([&] { run(statement)->finish(); }));
}

void OdbcSession::set_default_database(TextView name) {
  step([&] {
    settle();
    const Text terminated(name);
    connection_.check(connection_.api().set_connect_attr(
        connection_.get(), SQL_ATTR_CURRENT_CATALOG, wide(terminated), SQL_NTS));
    keys_.clear();
    if (is_sql_server_) match_isolation();
  });
}

void OdbcSession::execute(TextView statement) {
  const bool holds_password = find_ignoring_case(statement, u"sp_setapprole") != Text::npos;
  try {
    step([&] {
      run(statement)->finish();
      if (!is_set_statement(statement)) touched_data();
    });
  } catch (const ado::ConnectionLost& error) {
    if (!holds_password) throw;
    throw connection_lost({}, error.native(), error.sqlstate(),
                          static_cast<AdoErrorNumber>(error.number()));
  } catch (const AdoError& error) {
    if (holds_password) throw without_statement_text(error, only_enters_role(statement));
    throw;
  }
}

std::unique_ptr<ado::Rowset> OdbcSession::open(const ado::RowsetRequest& request) {
  return step([&] { return std::make_unique<OdbcRowset>(*this, request); });
}

void OdbcSession::begin() {
  step([&] {
    settle();
    set_auto_commit(false);
  });
  in_transaction_ = true;
  touched_data_ = false;
}

void OdbcSession::begin_load() {
  begin();
  loading_ = is_sql_server_;
}

bool OdbcSession::insert_later(TextView table, const std::vector<InsertColumn>& columns,
                               std::span<const ado::Assignment> row) {
  if (!loading_ || !InsertBlock::may_hold(row)) return false;
  if (rows_to_send_ && !rows_to_send_->fits(table, columns, row)) send_rows();
  if (!rows_to_send_) rows_to_send_.emplace(Text(table), columns);
  rows_to_send_->add(row);
  return true;
}

void OdbcSession::send_rows() {
  const auto rows = std::exchange(rows_to_send_, std::nullopt);
  if (!rows) return;
  Parameters parameters;
  rows->add_to(parameters);
  Handle handle = statement();
  static_cast<void>(parameters.execute(handle, rows->statement()));
  Result(std::move(handle)).finish();
  touched_data();
}

void OdbcSession::commit() {
  step([&] {
    settle();
    connection_.check(connection_.api().end_tran(SQL_HANDLE_DBC, connection_.get(), SQL_COMMIT));
  });
  in_transaction_ = loading_ = false;
  try {
    set_auto_commit(true);
  } catch (const AdoError&) {
    // What was written is written: the commit has not failed. But a connection that stays in
    // manual commit is of no further use.
    lost_ = true;
  }
}

void OdbcSession::rollback() {
  rows_to_send_.reset();
  bool gone = std::exchange(rolled_back_, false);
  try {
    step([&] {
      take_in_rest();
      gone = std::exchange(rolled_back_, false) || gone;
      // A driver that has not noticed asks the server to roll back what is no longer there, and
      // takes its answer for a failure; so there is something to roll back.
      if (gone) run(u"IF @@TRANCOUNT = 0 BEGIN TRANSACTION")->finish();
      connection_.check(
          connection_.api().end_tran(SQL_HANDLE_DBC, connection_.get(), SQL_ROLLBACK));
      set_auto_commit(true);
    });
  } catch (const AdoError&) {
    rolled_back_ = rolled_back_ || gone;
    throw;
  }
  in_transaction_ = loading_ = false;
}

bool OdbcSession::alive() {
  if (!lost_) lost_ = !answers();
  return !lost_;
}

std::optional<std::vector<Text>> OdbcSession::columns_of(TextView table) {
  std::vector<Text> names;
  const std::int32_t refusal = refusal_of([&] {
    step([&] {
      const auto described = run(join({u"SELECT * FROM ", quote(table), u" WHERE 1 = 0"}));
      described->finish();
      for (const ado::Column& column : described->columns()) names.push_back(column.name);
    });
  });
  // Without a right to read there is nothing to be told.
  if (refusal != 0 && refusal != kNativeNoSuchObject) return std::nullopt;
  return names;
}

std::vector<ado::HeldRow> OdbcSession::held_rows() {
  std::vector<ado::HeldRow> held;
  step([&] {
    for (const MaintainedTable& table : kMaintainedTables) {
      for (ado::HeldRow& row : read_stamps(table, {})) held.push_back(std::move(row));
    }
  });
  return held;
}

std::optional<ado::HeldRow> OdbcSession::holder_of(const ado::RowName& row) {
  std::vector<ado::HeldRow> held;
  step([&] {
    for (const MaintainedTable& table : kMaintainedTables) {
      if (!equals_ignoring_case(table.name, row.table) || table.key.size() != row.key.size()) {
        continue;
      }
      Text condition;
      auto part = row.key.begin();
      for (const TextView name : table.key) {
        condition.append(u" AND ").append(name).append(u" = ");
        condition.append(in_marks(*part++, u'\'', u'\''));
      }
      held = read_stamps(table, condition);
    }
  });
  if (held.empty()) return std::nullopt;
  return std::move(held.front());
}

// A stamp is visible before its commit only to a reader that takes no locks.
std::vector<ado::HeldRow> OdbcSession::read_stamps(const MaintainedTable& table,
                                                   TextView condition) {
  const TextView hint = is_sql_server_ ? u" WITH (NOLOCK)" : u"";
  Text columns = u"SoftLock";
  for (const TextView name : table.key) columns.append(u", ").append(name);
  const auto result = run(join(
      {u"SELECT ", columns, u" FROM ", table.name, hint, u" WHERE SoftLock <> ''", condition}));
  std::vector<ado::HeldRow> held;
  for_each_row(*result, 1 + table.key.size(), [&](const std::vector<ado::Cell>& cells) {
    Text key;
    for (std::size_t i = 1; i < cells.size(); ++i) {
      if (i > 1) key += u", ";
      key += key_text_of(cells[i]);
    }
    held.push_back({Text(table.name), std::move(key), text_of(cells[0]), std::nullopt});
  });
  return held;
}

Text OdbcSession::byte_length_of(TextView column) {
  return is_sql_server_ ? join({u"DATALENGTH(", column, u")"})
                        : EngineSession::byte_length_of(column);
}

bool OdbcSession::run_in_snapshot(const std::function<void()>& read) {
  if (in_transaction_) return false;
  std::int32_t refusal = 0;
  try {
    refusal = refusal_of([&] {
      run(u"SET TRANSACTION ISOLATION LEVEL SNAPSHOT")->finish();
      read();
    });
  } catch (const ado::ConnectionLost&) {
    throw;
  } catch (const AdoError&) {
    match_isolation();
    throw;
  }
  match_isolation();
  return refusal == 0;
}

Handle OdbcSession::statement() {
  settle();
  return make_statement(statement_timeout_);
}

Handle OdbcSession::make_statement(std::uint32_t timeout) {
  Handle statement = Handle::make(SQL_HANDLE_STMT, connection_);
  const auto set = [&](SQLINTEGER attribute, std::uintptr_t value) {
    // A driver may refuse what it does not know, and is used all the same.
    static_cast<void>(statement.api().set_stmt_attr(statement.get(), attribute,
                                                    attribute_value(value), SQL_IS_UINTEGER));
  };
  // Texts go to the server as they stand; some drivers always look for ODBC's own escapes in them.
  set(SQL_ATTR_NOSCAN, SQL_NOSCAN_ON);
  set(SQL_ATTR_QUERY_TIMEOUT, timeout);
  return statement;
}

std::unique_ptr<Result> OdbcSession::run(TextView text) { return run_on(statement(), text); }

std::unique_ptr<Result> OdbcSession::run_on(Handle handle, TextView text) {
  const SQLRETURN result =
      handle.api().exec_direct(handle.get(), wide(text), static_cast<SQLINTEGER>(text.size()));
  // Drivers say "no data" of a delete or update that found no row.
  if (result != SQL_NO_DATA) handle.check(result);
  return std::make_unique<Result>(std::move(handle));
}

const std::vector<Text>& OdbcSession::key_columns(const TableSelect& table) {
  const auto known = keys_.find(table.table);
  if (known != keys_.end()) return known->second;
  std::vector<Text> key = read_key(table, true);
  if (key.empty()) key = read_key(table, false);
  // Where the catalog is silent: the key that the statements of the object model go by.
  for (const MaintainedTable& maintained : kMaintainedTables) {
    if (key.empty() && equals_ignoring_case(table.parts.back(), maintained.name)) {
      key.assign(maintained.key.begin(), maintained.key.end());
    }
  }
  if (key.empty()) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   join({u"The table ", table.table,
                         u" has no key: a row of it cannot be identified for updating."}));
  }
  return keys_.emplace(table.table, std::move(key)).first->second;
}

std::vector<Text> OdbcSession::read_key(const TableSelect& table, bool primary) {
  std::vector<Text> key;
  // A server without this catalog procedure says so.
  static_cast<void>(refusal_of([&] { key = ask_for_key(table, primary); }));
  return key;
}

std::vector<Text> OdbcSession::ask_for_key(const TableSelect& table, bool primary) {
  const std::size_t depth = table.parts.size();
  const auto part = [&](std::size_t from_end) -> SQLWCHAR* {
    if (from_end > depth || table.parts[depth - from_end].empty()) return nullptr;
    return wide(table.parts[depth - from_end]);
  };
  SQLWCHAR* const name = part(1);
  SQLWCHAR* const schema = part(2);
  SQLWCHAR* const catalog = part(3);

  Handle handle = statement();
  OdbcApi& api = handle.api();
  const SQLRETURN result =
      primary ? api.primary_keys(handle.get(), catalog, SQL_NTS, schema, SQL_NTS, name, SQL_NTS)
              : api.special_columns(handle.get(), SQL_BEST_ROWID, catalog, SQL_NTS, schema, SQL_NTS,
                                    name, SQL_NTS, SQL_SCOPE_SESSION, SQL_NO_NULLS);
  handle.check(result);
  // Where a table's name stands in several schemas, the first one's key is listed first; two
  // schemas' keys never mix.
  constexpr std::size_t kSchemaOfKey = 1;
  constexpr std::size_t kColumnOfKey = 3;
  constexpr std::size_t kColumnOfRow = 1;
  std::vector<Text> key;
  std::optional<Text> first_schema;
  Result rows(std::move(handle));
  const std::size_t asked = 1 + (primary ? kColumnOfKey : kColumnOfRow);
  for_each_row(rows, asked, [&](const std::vector<ado::Cell>& cells) {
    if (!primary) {
      key.push_back(text_of(cells[kColumnOfRow]));
      return;
    }
    Text of = text_of(cells[kSchemaOfKey]);
    if (!first_schema) first_schema = of;
    if (of == *first_schema) key.push_back(text_of(cells[kColumnOfKey]));
  });
  return key;
}

Text OdbcSession::quote(TextView name) const {
  return is_sql_server_ ? bracketed(name) : quoted(name, quote_mark_);
}

void OdbcSession::set_auto_commit(bool on) {
  connection_.check(set(SQL_ATTR_AUTOCOMMIT, on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF));
}

void OdbcSession::require_usable() const {
  if (lost_) throw connection_lost();
  if (rolled_back_) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   u"The database server has rolled the transaction back.");
  }
}

void OdbcSession::settle() {
  take_in_rest();
  require_usable();
  send_rows();
}

void OdbcSession::take_in_rest() {
  if (OdbcRowset* rowset = std::exchange(reading_, nullptr)) rowset->take_in_rest();
}

void OdbcSession::look_after_error(const AdoError& error) {
  if (error.sqlstate().empty()) return;  // neither the driver's nor the server's
  if (in_transaction_ && is_sql_server_) {
    if (error.native() == ado::kNativeLockTimeout) return;  // which never ends a transaction
    if (error.native() == kNativeDeadlock || !transaction_survived()) rolled_back_ = true;
  } else if (is_unclear(error) && !answers()) {
    lost_ = true;
  }
  if (lost_ && is_unclear(error)) {
    throw connection_lost(error.description(), error.native(), error.sqlstate());
  }
}

bool OdbcSession::transaction_survived() {
  try {
    std::int64_t state = 0;
    const auto result = run(u"SELECT XACT_STATE()");
    for_each_row(*result, 1,
                 [&](const std::vector<ado::Cell>& cells) { state = cells[0].integer; });
    // Some drivers begin the transaction with its first statement on a table: before that succeeded
    // there is none that could have been lost.
    return state == 1 || (state == 0 && !touched_data_);
  } catch (const ado::ConnectionLost&) {
    lost_ = true;
    return false;
  } catch (const AdoError& error) {
    // A server that does not know the function has not said that the transaction is gone.
    if (error.native() != 0) return true;
    lost_ = is_unclear(error);
    if (lost_) leave_transaction();
    return false;
  }
}

// Asked also where the transaction is gone, so no step.
bool OdbcSession::answers() {
  try {
    take_in_rest();
    const std::uint32_t timeout =
        statement_timeout_ == 0 ? kProbeTimeout : std::min(kProbeTimeout, statement_timeout_);
    run_on(make_statement(timeout), u"SELECT 1")->finish();
  } catch (const ado::ConnectionLost&) {
    return false;
  } catch (const AdoError& error) {
    if (!is_unclear(error)) return true;
    leave_transaction();
    return false;
  }
  return true;
}

}  // namespace tarnwick::odbc
