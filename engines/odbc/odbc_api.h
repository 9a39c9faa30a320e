#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#include <cstdint>

#include "runtime/text.h"

namespace tarnwick::odbc {

/// The ODBC functions that the engine uses, each with ODBC's own arguments and results: those of
/// the installed driver manager, which a test can stand in for. Texts are the wide forms; SQLWCHAR
/// has two bytes with unixODBC and with Windows.
class OdbcApi {
 public:
  virtual ~OdbcApi() = default;

  virtual SQLRETURN alloc_handle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) {
    return SQLAllocHandle(type, input, output);
  }
  virtual SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) {
    return SQLFreeHandle(type, handle);
  }
  virtual SQLRETURN get_diag_rec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record,
                                 SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
                                 SQLSMALLINT capacity, SQLSMALLINT* length) {
    return SQLGetDiagRecW(type, handle, record, state, native, text, capacity, length);
  }
  virtual SQLRETURN set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                                 SQLINTEGER length) {
    return SQLSetEnvAttr(env, attribute, value, length);
  }
  virtual SQLRETURN drivers(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name,
                            SQLSMALLINT name_capacity, SQLSMALLINT* name_length,
                            SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                            SQLSMALLINT* attributes_length) {
    return SQLDriversW(env, direction, name, name_capacity, name_length, attributes,
                       attributes_capacity, attributes_length);
  }
  virtual SQLRETURN data_sources(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name,
                                 SQLSMALLINT name_capacity, SQLSMALLINT* name_length,
                                 SQLWCHAR* driver, SQLSMALLINT driver_capacity,
                                 SQLSMALLINT* driver_length) {
    return SQLDataSourcesW(env, direction, name, name_capacity, name_length, driver,
                           driver_capacity, driver_length);
  }
  virtual SQLRETURN set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                                     SQLINTEGER length) {
    return SQLSetConnectAttrW(dbc, attribute, value, length);
  }
  virtual SQLRETURN get_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                                     SQLINTEGER capacity, SQLINTEGER* length) {
    return SQLGetConnectAttrW(dbc, attribute, value, capacity, length);
  }
  virtual SQLRETURN driver_connect(SQLHDBC dbc, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length,
                                   SQLWCHAR* completed, SQLSMALLINT capacity,
                                   SQLSMALLINT* completed_length, SQLUSMALLINT completion) {
    return SQLDriverConnectW(dbc, window, text, length, completed, capacity, completed_length,
                             completion);
  }
  virtual SQLRETURN disconnect(SQLHDBC dbc) { return SQLDisconnect(dbc); }
  virtual SQLRETURN get_info(SQLHDBC dbc, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT capacity,
                             SQLSMALLINT* length) {
    return SQLGetInfoW(dbc, type, value, capacity, length);
  }
  virtual SQLRETURN end_tran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) {
    return SQLEndTran(type, handle, completion);
  }
  virtual SQLRETURN set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                                  SQLINTEGER length) {
    return SQLSetStmtAttrW(stmt, attribute, value, length);
  }
  virtual SQLRETURN exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) {
    return SQLExecDirectW(stmt, text, length);
  }
  virtual SQLRETURN num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) {
    return SQLNumResultCols(stmt, count);
  }
  virtual SQLRETURN describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name,
                                 SQLSMALLINT capacity, SQLSMALLINT* length, SQLSMALLINT* type,
                                 SQLULEN* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
    return SQLDescribeColW(stmt, column, name, capacity, length, type, size, digits, nullable);
  }
  virtual SQLRETURN bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) {
    return SQLBindCol(stmt, column, c_type, buffer, capacity, indicator);
  }
  virtual SQLRETURN fetch(SQLHSTMT stmt) { return SQLFetch(stmt); }
  virtual SQLRETURN get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) {
    return SQLGetData(stmt, column, c_type, buffer, capacity, indicator);
  }
  virtual SQLRETURN row_count(SQLHSTMT stmt, SQLLEN* count) { return SQLRowCount(stmt, count); }
  virtual SQLRETURN more_results(SQLHSTMT stmt) { return SQLMoreResults(stmt); }
  virtual SQLRETURN bind_parameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction,
                                   SQLSMALLINT c_type, SQLSMALLINT sql_type, SQLULEN size,
                                   SQLSMALLINT digits, SQLPOINTER value, SQLLEN capacity,
                                   SQLLEN* indicator) {
    return SQLBindParameter(stmt, number, direction, c_type, sql_type, size, digits, value,
                            capacity, indicator);
  }
  virtual SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) {
    return SQLParamData(stmt, token);
  }
  virtual SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) {
    return SQLPutData(stmt, data, length);
  }
  virtual SQLRETURN cancel(SQLHSTMT stmt) { return SQLCancel(stmt); }
  virtual SQLRETURN primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                                 SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                                 SQLSMALLINT table_length) {
    return SQLPrimaryKeysW(stmt, catalog, catalog_length, schema, schema_length, table,
                           table_length);
  }
  virtual SQLRETURN special_columns(SQLHSTMT stmt, SQLUSMALLINT kind, SQLWCHAR* catalog,
                                    SQLSMALLINT catalog_length, SQLWCHAR* schema,
                                    SQLSMALLINT schema_length, SQLWCHAR* table,
                                    SQLSMALLINT table_length, SQLUSMALLINT scope,
                                    SQLUSMALLINT nullable) {
    return SQLSpecialColumnsW(stmt, kind, catalog, catalog_length, schema, schema_length, table,
                              table_length, scope, nullable);
  }
};

/// The installed driver manager.
[[nodiscard]] inline OdbcApi& driver_manager() {
  static OdbcApi manager;
  return manager;
}

/// A number as the value of an attribute.
[[nodiscard]] inline SQLPOINTER attribute_value(std::uintptr_t value) {
  return reinterpret_cast<SQLPOINTER>(value);
}

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));

/// Texts as ODBC takes them: it declares its inputs without const and does not write to them.
[[nodiscard]] inline SQLWCHAR* wide(const char16_t* text) {
  return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text));
}
[[nodiscard]] inline SQLWCHAR* wide(TextView text) { return wide(text.data()); }

}  // namespace tarnwick::odbc
