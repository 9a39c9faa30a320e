#pragma once

#include "engines/odbc/odbc_api.h"

namespace tarnwick::odbc_test {

/// The real driver manager, of which one call fails: by its place in the order of all calls, or all
/// from there on. Cancels, frees, disconnects and rollbacks are carried out all the same: a server
/// does so when a connection breaks.
class FaultyOdbc final : public odbc::OdbcApi {
 public:
  /// Counted from 1; 0: none.
  std::size_t failing_call = 0;
  bool all_from_there = false;
  std::size_t calls = 0;
  /// Handles that were made and not freed.
  std::ptrdiff_t open_handles = 0;
  [[nodiscard]] bool has_failed() const { return failing_call != 0 && calls >= failing_call; }

  SQLRETURN alloc_handle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) override {
    const SQLRETURN result = call([&] { return real_.alloc_handle(type, input, output); });
    if (SQL_SUCCEEDED(result)) ++open_handles;
    return result;
  }
  SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) override {
    const SQLRETURN result = call([] { return SQLRETURN{SQL_SUCCESS}; });
    static_cast<void>(real_.free_handle(type, handle));
    --open_handles;
    return result;
  }
  SQLRETURN get_diag_rec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record, SQLWCHAR* state,
                         SQLINTEGER* native, SQLWCHAR* text, SQLSMALLINT capacity,
                         SQLSMALLINT* length) override {
    return call([&] {
      return real_.get_diag_rec(type, handle, record, state, native, text, capacity, length);
    });
  }
  SQLRETURN set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                         SQLINTEGER length) override {
    return call([&] { return real_.set_env_attr(env, attribute, value, length); });
  }
  SQLRETURN drivers(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name, SQLSMALLINT name_capacity,
                    SQLSMALLINT* name_length, SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                    SQLSMALLINT* attributes_length) override {
    return call([&] {
      return real_.drivers(env, direction, name, name_capacity, name_length, attributes,
                           attributes_capacity, attributes_length);
    });
  }
  SQLRETURN set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER length) override {
    return call([&] { return real_.set_connect_attr(dbc, attribute, value, length); });
  }
  SQLRETURN get_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER capacity, SQLINTEGER* length) override {
    return call([&] { return real_.get_connect_attr(dbc, attribute, value, capacity, length); });
  }
  SQLRETURN driver_connect(SQLHDBC dbc, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length,
                           SQLWCHAR* completed, SQLSMALLINT capacity, SQLSMALLINT* completed_length,
                           SQLUSMALLINT completion) override {
    return call([&] {
      return real_.driver_connect(dbc, window, text, length, completed, capacity, completed_length,
                                  completion);
    });
  }
  SQLRETURN disconnect(SQLHDBC dbc) override {
    const SQLRETURN result = call([] { return SQLRETURN{SQL_SUCCESS}; });
    static_cast<void>(real_.disconnect(dbc));
    return result;
  }
  SQLRETURN get_info(SQLHDBC dbc, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT capacity,
                     SQLSMALLINT* length) override {
    return call([&] { return real_.get_info(dbc, type, value, capacity, length); });
  }
  SQLRETURN end_tran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) override {
    const SQLRETURN result = call([] { return SQLRETURN{SQL_SUCCESS}; });
    const bool carried_out = SQL_SUCCEEDED(result) || completion == SQL_ROLLBACK;
    if (!carried_out) return result;
    const SQLRETURN real = real_.end_tran(type, handle, completion);
    return SQL_SUCCEEDED(result) ? real : result;
  }
  SQLRETURN set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                          SQLINTEGER length) override {
    return call([&] { return real_.set_stmt_attr(stmt, attribute, value, length); });
  }
  SQLRETURN exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) override {
    return call([&] { return real_.exec_direct(stmt, text, length); });
  }
  SQLRETURN num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) override {
    return call([&] { return real_.num_result_cols(stmt, count); });
  }
  SQLRETURN describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name, SQLSMALLINT capacity,
                         SQLSMALLINT* length, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                         SQLSMALLINT* nullable) override {
    return call([&] {
      return real_.describe_col(stmt, column, name, capacity, length, type, size, digits, nullable);
    });
  }
  SQLRETURN bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override {
    return call([&] { return real_.bind_col(stmt, column, c_type, buffer, capacity, indicator); });
  }
  SQLRETURN fetch(SQLHSTMT stmt) override {
    return call([&] { return real_.fetch(stmt); });
  }
  SQLRETURN get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override {
    return call([&] { return real_.get_data(stmt, column, c_type, buffer, capacity, indicator); });
  }
  SQLRETURN row_count(SQLHSTMT stmt, SQLLEN* count) override {
    return call([&] { return real_.row_count(stmt, count); });
  }
  SQLRETURN more_results(SQLHSTMT stmt) override {
    return call([&] { return real_.more_results(stmt); });
  }
  SQLRETURN bind_parameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction,
                           SQLSMALLINT c_type, SQLSMALLINT sql_type, SQLULEN size,
                           SQLSMALLINT digits, SQLPOINTER value, SQLLEN capacity,
                           SQLLEN* indicator) override {
    return call([&] {
      return real_.bind_parameter(stmt, number, direction, c_type, sql_type, size, digits, value,
                                  capacity, indicator);
    });
  }
  SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) override {
    return call([&] { return real_.param_data(stmt, token); });
  }
  SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) override {
    return call([&] { return real_.put_data(stmt, data, length); });
  }
  SQLRETURN cancel(SQLHSTMT stmt) override {
    const SQLRETURN result = call([] { return SQLRETURN{SQL_SUCCESS}; });
    const SQLRETURN real = real_.cancel(stmt);
    return SQL_SUCCEEDED(result) ? real : result;
  }
  SQLRETURN primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                         SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                         SQLSMALLINT table_length) override {
    return call([&] {
      return real_.primary_keys(stmt, catalog, catalog_length, schema, schema_length, table,
                                table_length);
    });
  }
  SQLRETURN special_columns(SQLHSTMT stmt, SQLUSMALLINT kind, SQLWCHAR* catalog,
                            SQLSMALLINT catalog_length, SQLWCHAR* schema, SQLSMALLINT schema_length,
                            SQLWCHAR* table, SQLSMALLINT table_length, SQLUSMALLINT scope,
                            SQLUSMALLINT nullable) override {
    return call([&] {
      return real_.special_columns(stmt, kind, catalog, catalog_length, schema, schema_length,
                                   table, table_length, scope, nullable);
    });
  }

 private:
  template <class F>
  SQLRETURN call(F&& real_call) {
    ++calls;
    const bool fails = calls == failing_call || (all_from_there && has_failed());
    return fails ? SQLRETURN{SQL_ERROR} : real_call();
  }

  OdbcApi& real_ = odbc::driver_manager();
};

}  // namespace tarnwick::odbc_test
