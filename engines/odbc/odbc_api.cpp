#include "engines/odbc/odbc_api.h"

namespace tarnwick::odbc {
namespace {

class DriverManager final : public OdbcApi {
 public:
  SQLRETURN alloc_handle(SQLSMALLINT type, SQLHANDLE input, SQLHANDLE* output) override {
    return SQLAllocHandle(type, input, output);
  }
  SQLRETURN free_handle(SQLSMALLINT type, SQLHANDLE handle) override {
    return SQLFreeHandle(type, handle);
  }
  SQLRETURN get_diag_rec(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT record, SQLWCHAR* state,
                         SQLINTEGER* native, SQLWCHAR* text, SQLSMALLINT capacity,
                         SQLSMALLINT* length) override {
    return SQLGetDiagRecW(type, handle, record, state, native, text, capacity, length);
  }
  SQLRETURN set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                         SQLINTEGER length) override {
    return SQLSetEnvAttr(env, attribute, value, length);
  }
  SQLRETURN drivers(SQLHENV env, SQLUSMALLINT direction, SQLWCHAR* name, SQLSMALLINT name_capacity,
                    SQLSMALLINT* name_length, SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                    SQLSMALLINT* attributes_length) override {
    return SQLDriversW(env, direction, name, name_capacity, name_length, attributes,
                       attributes_capacity, attributes_length);
  }
  SQLRETURN set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER length) override {
    return SQLSetConnectAttrW(dbc, attribute, value, length);
  }
  SQLRETURN get_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                             SQLINTEGER capacity, SQLINTEGER* length) override {
    return SQLGetConnectAttrW(dbc, attribute, value, capacity, length);
  }
  SQLRETURN driver_connect(SQLHDBC dbc, SQLHWND window, SQLWCHAR* text, SQLSMALLINT length,
                           SQLWCHAR* completed, SQLSMALLINT capacity, SQLSMALLINT* completed_length,
                           SQLUSMALLINT completion) override {
    return SQLDriverConnectW(dbc, window, text, length, completed, capacity, completed_length,
                             completion);
  }
  SQLRETURN disconnect(SQLHDBC dbc) override { return SQLDisconnect(dbc); }
  SQLRETURN get_info(SQLHDBC dbc, SQLUSMALLINT type, SQLPOINTER value, SQLSMALLINT capacity,
                     SQLSMALLINT* length) override {
    return SQLGetInfoW(dbc, type, value, capacity, length);
  }
  SQLRETURN end_tran(SQLSMALLINT type, SQLHANDLE handle, SQLSMALLINT completion) override {
    return SQLEndTran(type, handle, completion);
  }
  SQLRETURN set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                          SQLINTEGER length) override {
    return SQLSetStmtAttrW(stmt, attribute, value, length);
  }
  SQLRETURN exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) override {
    return SQLExecDirectW(stmt, text, length);
  }
  SQLRETURN num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) override {
    return SQLNumResultCols(stmt, count);
  }
  SQLRETURN describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name, SQLSMALLINT capacity,
                         SQLSMALLINT* length, SQLSMALLINT* type, SQLULEN* size, SQLSMALLINT* digits,
                         SQLSMALLINT* nullable) override {
    return SQLDescribeColW(stmt, column, name, capacity, length, type, size, digits, nullable);
  }
  SQLRETURN bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override {
    return SQLBindCol(stmt, column, c_type, buffer, capacity, indicator);
  }
  SQLRETURN fetch(SQLHSTMT stmt) override { return SQLFetch(stmt); }
  SQLRETURN get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type, SQLPOINTER buffer,
                     SQLLEN capacity, SQLLEN* indicator) override {
    return SQLGetData(stmt, column, c_type, buffer, capacity, indicator);
  }
  SQLRETURN row_count(SQLHSTMT stmt, SQLLEN* count) override { return SQLRowCount(stmt, count); }
  SQLRETURN more_results(SQLHSTMT stmt) override { return SQLMoreResults(stmt); }
  SQLRETURN bind_parameter(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT direction,
                           SQLSMALLINT c_type, SQLSMALLINT sql_type, SQLULEN size,
                           SQLSMALLINT digits, SQLPOINTER value, SQLLEN capacity,
                           SQLLEN* indicator) override {
    return SQLBindParameter(stmt, number, direction, c_type, sql_type, size, digits, value,
                            capacity, indicator);
  }
  SQLRETURN param_data(SQLHSTMT stmt, SQLPOINTER* token) override {
    return SQLParamData(stmt, token);
  }
  SQLRETURN put_data(SQLHSTMT stmt, SQLPOINTER data, SQLLEN length) override {
    return SQLPutData(stmt, data, length);
  }
  SQLRETURN cancel(SQLHSTMT stmt) override { return SQLCancel(stmt); }
  SQLRETURN primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                         SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                         SQLSMALLINT table_length) override {
    return SQLPrimaryKeysW(stmt, catalog, catalog_length, schema, schema_length, table,
                           table_length);
  }
  SQLRETURN special_columns(SQLHSTMT stmt, SQLUSMALLINT kind, SQLWCHAR* catalog,
                            SQLSMALLINT catalog_length, SQLWCHAR* schema, SQLSMALLINT schema_length,
                            SQLWCHAR* table, SQLSMALLINT table_length, SQLUSMALLINT scope,
                            SQLUSMALLINT nullable) override {
    return SQLSpecialColumnsW(stmt, kind, catalog, catalog_length, schema, schema_length, table,
                              table_length, scope, nullable);
  }
};

}  // namespace

OdbcApi& driver_manager() {
  static DriverManager manager;
  return manager;
}

}  // namespace tarnwick::odbc
