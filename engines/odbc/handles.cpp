#include "engines/odbc/handles.h"

#include "ado/error.h"
#include "engines/odbc/diagnostics.h"

namespace tarnwick::odbc {
Handle Handle::environment(OdbcApi& api) {
  // Application roles do not survive a return to a pool: pooling is switched off for the process,
  // which has to happen before the first environment is made. A driver manager without pools may
  // refuse, and then there is nothing to switch off.
  static_cast<void>(api.set_env_attr(SQL_NULL_HANDLE, SQL_ATTR_CONNECTION_POOLING,
                                     attribute_value(SQL_CP_OFF), SQL_IS_UINTEGER));
  Handle env(api, SQL_HANDLE_ENV);
  if (!SQL_SUCCEEDED(api.alloc_handle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &env.handle_))) {
    env.handle_ = SQL_NULL_HANDLE;
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        u"The ODBC driver manager cannot be used.");
  }
  env.check(api.set_env_attr(env.handle_, SQL_ATTR_ODBC_VERSION, attribute_value(SQL_OV_ODBC3), 0));
  return env;
}

Handle Handle::make(SQLSMALLINT type, const Handle& parent) {
  Handle made(parent.api(), type);
  const SQLRETURN result = parent.api().alloc_handle(type, parent.get(), &made.handle_);
  if (!SQL_SUCCEEDED(result)) made.handle_ = SQL_NULL_HANDLE;
  parent.check(result);
  made.parent_ = parent.get();
  return made;
}

SQLHDBC Handle::connection() const {
  if (type_ == SQL_HANDLE_DBC) return handle_;
  return type_ == SQL_HANDLE_STMT ? parent_ : SQL_NULL_HANDLE;
}

void Handle::check(SQLRETURN result) const {
  if (!SQL_SUCCEEDED(result)) raise_diagnostics(*this);
}

void Handle::reset() noexcept {
  if (handle_ == SQL_NULL_HANDLE) return;
  if (type_ == SQL_HANDLE_DBC) static_cast<void>(api_->disconnect(handle_));
  static_cast<void>(api_->free_handle(type_, handle_));
  handle_ = SQL_NULL_HANDLE;
}

}  // namespace tarnwick::odbc
