#pragma once

#include <utility>

#include "engines/odbc/odbc_api.h"

namespace tarnwick::odbc {

/// Owns an ODBC environment, connection or statement. A parent must outlive what was made from it;
/// the end of a connection disconnects it.
class Handle final {
 public:
  /// Throws AdoError when the driver manager cannot be used.
  [[nodiscard]] static Handle environment(OdbcApi& api);
  /// `type` is SQL_HANDLE_DBC in an environment, SQL_HANDLE_STMT on a connection. Throws AdoError.
  [[nodiscard]] static Handle make(SQLSMALLINT type, const Handle& parent);

  ~Handle() { reset(); }
  Handle(Handle&& other) noexcept { swap(other); }
  Handle& operator=(Handle&& other) noexcept {
    Handle taken(std::move(other));
    swap(taken);
    return *this;
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  [[nodiscard]] SQLHANDLE get() const { return handle_; }
  [[nodiscard]] SQLSMALLINT type() const { return type_; }
  [[nodiscard]] OdbcApi& api() const { return *api_; }
  /// The connection that a statement was made on, or the handle itself; null for an environment.
  [[nodiscard]] SQLHDBC connection() const;

  /// Throws by the diagnostics of the handle unless `result` is a success, with or without
  /// information. See raise_diagnostics.
  void check(SQLRETURN result) const;

 private:
  Handle(OdbcApi& api, SQLSMALLINT type) : api_(&api), type_(type) {}
  void reset() noexcept;
  void swap(Handle& other) noexcept {
    std::swap(api_, other.api_);
    std::swap(type_, other.type_);
    std::swap(handle_, other.handle_);
    std::swap(parent_, other.parent_);
  }

  OdbcApi* api_ = nullptr;
  SQLSMALLINT type_ = 0;
  SQLHANDLE handle_ = SQL_NULL_HANDLE;
  SQLHANDLE parent_ = SQL_NULL_HANDLE;
};

}  // namespace tarnwick::odbc
