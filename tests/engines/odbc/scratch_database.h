#pragma once

#include <memory>
#include <optional>
#include <string>

#include "ado/connection_string.h"
#include "engines/odbc/engine.h"

namespace tarnwick::odbc_test {

/// The connection string for tests on a real server, from TARNWICK_TEST_SQLSERVER; nothing where it
/// is not set.
[[nodiscard]] std::optional<Text> test_server();

/// True where its items are those of an ODBC driver, which are passed on unread.
[[nodiscard]] bool names_odbc_items();

/// Why such tests do not run, and how to turn them on; empty where they run.
[[nodiscard]] std::string why_no_test_server();

/// The same for tests that need the name Velmar_Sec for their database: one that is there already
/// is somebody's.
[[nodiscard]] std::string why_no_velmar_sec();

/// A database of its own on the test server, made by schema/sqlserver.sql, and a login that may
/// enter the database and nothing more. Both are gone with the object.
class ScratchDatabase {
 public:
  /// With a name that nobody else has.
  ScratchDatabase();
  /// `name` must not be on the server.
  explicit ScratchDatabase(Text name);
  ~ScratchDatabase();
  ScratchDatabase(const ScratchDatabase&) = delete;
  ScratchDatabase& operator=(const ScratchDatabase&) = delete;

  [[nodiscard]] const Text& name() const { return name_; }
  [[nodiscard]] TextView role() const { return u"tarnwick_app"; }
  [[nodiscard]] TextView role_password() const { return u"Open-Sesame_1"; }

  /// Runs schema/sqlserver.sql, as sqlcmd would, in the database.
  void run_schema();

  /// A session of the administrator, in the database.
  [[nodiscard]] std::unique_ptr<ado::EngineSession> administrator();
  /// The connection string of the login without rights.
  [[nodiscard]] Text login_string() const { return login_string(login_password_); }
  /// The same with another password.
  [[nodiscard]] Text login_string(TextView password) const;
  [[nodiscard]] const Text& login_password() const { return login_password_; }
  /// Kills every session of that login, as an administrator would.
  void end_sessions_of_login();
  /// A session of that login in the role, waiting for locks for ever.
  [[nodiscard]] std::unique_ptr<ado::EngineSession> session();

  [[nodiscard]] odbc::OdbcEngine& engine() { return engine_; }

 private:
  void drop() noexcept;

  odbc::OdbcEngine engine_;
  Text name_;
  Text login_;
  Text login_password_;
};

}  // namespace tarnwick::odbc_test
