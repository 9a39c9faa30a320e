#pragma once

#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engines/odbc/conversion.h"
#include "engines/odbc/diagnostics.h"
#include "engines/odbc/odbc_api.h"
#include "runtime/variant.h"

namespace tarnwick::odbc_test {

/// A column of a scripted result.
struct ScriptedColumn {
  Text name;
  odbc::SqlType type;
};

/// What the scripted driver answers to a statement.
struct Reply {
  std::vector<ScriptedColumn> columns = {};
  std::vector<std::vector<Variant>> rows = {};
  /// Of the execution itself.
  std::optional<odbc::Diagnostic> error = {};
  /// Of the fetch behind the last row, in place of the end.
  std::optional<odbc::Diagnostic> fetch_error = {};
  /// Of the next result.
  std::optional<odbc::Diagnostic> later_error = {};
  SQLLEN row_count = 1;
  bool no_data = false;  // the execution says SQL_NO_DATA
};

[[nodiscard]] odbc::SqlType wide_text(SQLULEN size);
[[nodiscard]] odbc::SqlType narrow_text(SQLULEN size);
[[nodiscard]] odbc::SqlType long_text();
[[nodiscard]] odbc::SqlType long_bytes();
[[nodiscard]] odbc::SqlType small_integer();
[[nodiscard]] Reply fails(std::string state, std::int32_t native, Text text);

/// A driver manager with one driver, which plays a SQL Server from a script and keeps a log of what
/// it was asked for.
class ScriptedOdbc final : public odbc::OdbcApi {
 public:
  ScriptedOdbc();

  /// Statements that contain `part` get these replies in turn, the last one again and again; later
  /// rules come first. Statements without a rule succeed without records.
  void on(TextView part, std::vector<Reply> replies);
  /// What SQLPrimaryKeys and SQLSpecialColumns list for a table: its schema and key columns.
  void set_key(Text table, std::vector<std::pair<Text, Text>> schema_and_column);
  void set_unique(Text table, std::vector<Text> columns);

  /// The lines since the last call, without the options that every session sets:
  ///   exec STATEMENT / exec STATEMENT <- parameters / autocommit on|off / commit / rollback /
  ///   database NAME / connect TEXT / disconnect / keys TABLE
  [[nodiscard]] std::vector<Text> take_log();

  // How the driver behaves.
  std::vector<Text> installed{u"FreeTDS"};
  Text dbms = u"Microsoft SQL Server";
  Text driver_file = u"libodbc_driver.so";
  bool logs_options = false;
  std::vector<odbc::Diagnostic> connect_errors;
  std::optional<odbc::Diagnostic> database_error;
  std::optional<odbc::Diagnostic> commit_error;
  std::optional<odbc::Diagnostic> auto_commit_on_error;
  std::optional<odbc::Diagnostic> catalog_error;
  bool dead = false;
  /// Long values come without their length.
  bool hides_lengths = false;
  /// Of a text part, this many units fewer than would fit are delivered.
  std::size_t short_by = 0;
  /// A failed row in a block is told by its status alone.
  bool fails_by_row_status = false;
  std::optional<odbc::Diagnostic> put_error;
  std::vector<std::size_t> put_sizes;
  SQLULEN largest_array = 0;
  std::size_t open_handles = 0;

  SQLRETURN alloc_handle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) override;
  SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) override;
  SQLRETURN get_diag_rec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record, SQLWCHAR* state,
                         SQLINTEGER* native, SQLWCHAR* text, SQLSMALLINT capacity,
                         SQLSMALLINT* length) override;
  SQLRETURN set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                         SQLINTEGER length) override;
  SQLRETURN drivers(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name, SQLSMALLINT name_capacity,
                    SQLSMALLINT* name_length, SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                    SQLSMALLINT* attributes_length) override;
  SQLRETURN set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER length) override;
  SQLRETURN get_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER capacity, SQLINTEGER* length) override;
  SQLRETURN driver_connect(SQLHDBC dbc, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length,
                           SQLWCHAR* completed, SQLSMALLINT capacity, SQLSMALLINT* completed_length,
                           SQLUSMALLINT completion) override;
  SQLRETURN disconnect(SQLHDBC dbc) override;
  SQLRETURN get_info(SQLHDBC dbc, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT capacity,
                     SQLSMALLINT* length) override;
  SQLRETURN end_tran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) override;
  SQLRETURN set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                          SQLINTEGER length) override;
  SQLRETURN exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) override;
  SQLRETURN num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) override;
  SQLRETURN describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name, SQLSMALLINT capacity,
                         SQLSMALLINT* length, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                         SQLSMALLINT* nullable) override;
  SQLRETURN bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override;
  SQLRETURN fetch(SQLHSTMT stmt) override;
  SQLRETURN get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override;
  SQLRETURN row_count(SQLHSTMT stmt, SQLLEN* count) override;
  SQLRETURN more_results(SQLHSTMT stmt) override;
  SQLRETURN bind_parameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction,
                           SQLSMALLINT c_type, SQLSMALLINT sql_type, SQLULEN size,
                           SQLSMALLINT digits, SQLPOINTER value, SQLLEN capacity,
                           SQLLEN* indicator) override;
  SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) override;
  SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) override;
  SQLRETURN cancel(SQLHSTMT stmt) override;
  SQLRETURN primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                         SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                         SQLSMALLINT table_length) override;
  SQLRETURN special_columns(SQLHSTMT stmt, SQLUSMALLINT kind, SQLWCHAR* catalog,
                            SQLSMALLINT catalog_length, SQLWCHAR* schema, SQLSMALLINT schema_length,
                            SQLWCHAR* table, SQLSMALLINT table_length, SQLUSMALLINT scope,
                            SQLUSMALLINT nullable) override;

 private:
  struct Parameter {
    SQLSMALLINT c_type;
    SQLSMALLINT sql_type;
    SQLPOINTER value;
    SQLLEN* indicator;
    std::size_t put = 0;
  };
  struct Bound {
    SQLSMALLINT c_type = 0;
    std::byte* values = nullptr;
    std::size_t capacity = 0;
    SQLLEN* indicators = nullptr;
  };
  struct Part {  // how far a value was given out
    std::size_t column = 0;
    std::size_t given = 0;
    bool done = false;
  };
  struct Handle {
    SQLSMALLINT type = 0;
    std::vector<odbc::Diagnostic> diagnostics;
    Text statement;
    Reply reply;
    std::size_t row = 0;  // of the next fetch
    std::size_t current = 0;
    std::vector<Bound> bound;
    SQLULEN array = 1;
    SQLUSMALLINT* statuses = nullptr;
    SQLULEN* fetched = nullptr;
    std::vector<Parameter> parameters;
    std::size_t next_parameter = 0;
    Part part;
  };
  struct Rule {
    Text part;
    std::deque<Reply> replies;
  };

  Handle& at(SQLHANDLE handle) { return *static_cast<Handle*>(handle); }
  SQLRETURN fail(SQLHANDLE handle, const odbc::Diagnostic& diagnostic);
  SQLRETURN answer(Handle& handle);
  SQLRETURN list_columns(Handle& handle, Reply reply);
  SQLRETURN give(const Variant& value, SQLSMALLINT c_type, std::byte* buffer, std::size_t capacity,
                 SQLLEN* indicator, std::size_t& given);
  [[nodiscard]] Text describe_parameters(Handle& handle) const;
  void log(Text line);

  std::deque<Rule> rules_;
  std::map<Text, std::vector<std::pair<Text, Text>>> keys_;
  std::map<Text, std::vector<Text>> unique_;
  std::vector<Text> log_;
  std::size_t next_driver_ = 0;
  std::set<std::unique_ptr<Handle>> handles_;
};

}  // namespace tarnwick::odbc_test
