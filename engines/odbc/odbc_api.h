#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#include "runtime/text.h"

namespace tarnwick::odbc {

/// The ODBC functions that the engine uses, each with ODBC's own arguments and results, so that a
/// test can stand in for the driver manager. Texts are the wide forms; SQLWCHAR has two bytes with
/// unixODBC and with Windows.
class OdbcApi {
 public:
  virtual ~OdbcApi() = default;

  virtual SQLRETURN alloc_handle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) = 0;
  virtual SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) = 0;
  virtual SQLRETURN get_diag_rec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record,
                                 SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
                                 SQLSMALLINT capacity, SQLSMALLINT* length) = 0;

  virtual SQLRETURN set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                                 SQLINTEGER length) = 0;
  virtual SQLRETURN drivers(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name,
                            SQLSMALLINT name_capacity, SQLSMALLINT* name_length,
                            SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                            SQLSMALLINT* attributes_length) = 0;

  virtual SQLRETURN set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                                     SQLINTEGER length) = 0;
  virtual SQLRETURN get_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                                     SQLINTEGER capacity, SQLINTEGER* length) = 0;
  virtual SQLRETURN driver_connect(SQLHDBC dbc, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length,
                                   SQLWCHAR* completed, SQLSMALLINT capacity,
                                   SQLSMALLINT* completed_length, SQLUSMALLINT completion) = 0;
  virtual SQLRETURN disconnect(SQLHDBC dbc) = 0;
  virtual SQLRETURN get_info(SQLHDBC dbc, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT capacity,
                             SQLSMALLINT* length) = 0;
  virtual SQLRETURN end_tran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) = 0;

  virtual SQLRETURN set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                                  SQLINTEGER length) = 0;
  virtual SQLRETURN exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) = 0;
  virtual SQLRETURN num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) = 0;
  virtual SQLRETURN describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name,
                                 SQLSMALLINT capacity, SQLSMALLINT* length, SQLSMALLINT* type,
                                 SQLULEN* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) = 0;
  virtual SQLRETURN bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) = 0;
  virtual SQLRETURN fetch(SQLHSTMT stmt) = 0;
  virtual SQLRETURN get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                             SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) = 0;
  virtual SQLRETURN row_count(SQLHSTMT stmt, SQLLEN* count) = 0;
  virtual SQLRETURN more_results(SQLHSTMT stmt) = 0;
  virtual SQLRETURN bind_parameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction,
                                   SQLSMALLINT c_type, SQLSMALLINT sql_type, SQLULEN size,
                                   SQLSMALLINT digits, SQLPOINTER value, SQLLEN capacity,
                                   SQLLEN* indicator) = 0;
  virtual SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) = 0;
  virtual SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) = 0;
  virtual SQLRETURN cancel(SQLHSTMT stmt) = 0;
  virtual SQLRETURN primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                                 SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                                 SQLSMALLINT table_length) = 0;
  virtual SQLRETURN special_columns(SQLHSTMT stmt, SQLUSMALLINT kind, SQLWCHAR* catalog,
                                    SQLSMALLINT catalog_length, SQLWCHAR* schema,
                                    SQLSMALLINT schema_length, SQLWCHAR* table,
                                    SQLSMALLINT table_length, SQLUSMALLINT scope,
                                    SQLUSMALLINT nullable) = 0;
};

/// The installed driver manager.
[[nodiscard]] OdbcApi& driver_manager();

static_assert(sizeof(SQLWCHAR) == sizeof(char16_t));

/// Texts as ODBC takes them: it declares its inputs without const and does not write to them.
[[nodiscard]] inline SQLWCHAR* wide(const char16_t* text) {
  return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text));
}
[[nodiscard]] inline SQLWCHAR* wide(TextView text) { return wide(text.data()); }

}  // namespace tarnwick::odbc
