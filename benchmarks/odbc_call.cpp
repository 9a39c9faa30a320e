#include "benchmarks/odbc_call.h"

#include <stdexcept>

namespace tarnwick::benchmarks {
namespace {

SQLHANDLE speaking_odbc_3(SQLHANDLE environment) {
  check(SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION,
                      reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0));
  return environment;
}

}  // namespace

void check(SQLRETURN result) {
  if (!SQL_SUCCEEDED(result)) throw std::runtime_error("an ODBC call of the floor failed");
}

OdbcHandle::OdbcHandle(SQLSMALLINT type, SQLHANDLE parent) : type_(type) {
  check(SQLAllocHandle(type, parent, &handle_));
}

OdbcHandle::~OdbcHandle() {
  if (type_ == SQL_HANDLE_DBC) SQLDisconnect(handle_);
  SQLFreeHandle(type_, handle_);
}

OdbcConnection::OdbcConnection(const Text& connect)
    : environment_(SQL_HANDLE_ENV, nullptr),
      connection_(SQL_HANDLE_DBC, speaking_odbc_3(environment_.get())) {
  check(SQLDriverConnectW(connection_.get(), nullptr, wide(connect.c_str()), SQL_NTS, nullptr, 0,
                          nullptr, SQL_DRIVER_NOPROMPT));
}

}  // namespace tarnwick::benchmarks
