#pragma once

#include <sql.h>
#include <sqlext.h>

#include "runtime/text.h"

// ODBC's own interface, as the floors use it: no more than what anybody would write around it by
// hand. All throw std::runtime_error.

namespace tarnwick::benchmarks {

void check(SQLRETURN result);

[[nodiscard]] inline SQLWCHAR* wide(const char16_t* text) {
  return reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(text));
}

class OdbcHandle {
 public:
  OdbcHandle(SQLSMALLINT type, SQLHANDLE parent);
  ~OdbcHandle();
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;
  [[nodiscard]] SQLHANDLE get() const { return handle_; }

 private:
  SQLSMALLINT type_;
  SQLHANDLE handle_ = nullptr;
};

/// Connected to the database that a connection string names.
class OdbcConnection {
 public:
  explicit OdbcConnection(const Text& connect);
  [[nodiscard]] SQLHDBC get() const { return connection_.get(); }

 private:
  OdbcHandle environment_;
  OdbcHandle connection_;
};

}  // namespace tarnwick::benchmarks
