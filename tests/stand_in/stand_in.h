#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "engines/odbc/engine.h"
#include "runtime/text.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::test_support {

/// The stand-in for SQL Server in a process of its own, gone with the object; and FreeTDS as the
/// one installed driver. See server.py for what it understands.
class StandIn {
 public:
  StandIn();
  ~StandIn();
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;

  static constexpr TextView kUser = u"sa";
  static constexpr TextView kPassword = u"Stand-in-1";
  static constexpr TextView kRole = u"tarnwick_app";
  static constexpr TextView kRolePassword = u"Open-Sesame_1";

  /// "127.0.0.1,port"
  [[nodiscard]] Text data_source() const;
  /// OLE DB's items for the administrator.
  [[nodiscard]] Text connection_string() const;

  /// Makes the database Velmar_Sec by schema/sqlserver.sql, with the role.
  void make_database();

  /// One of the server's orders for faults, without its first word, or any statement of the
  /// administrator's.
  void order(TextView fault);
  void run(TextView statement);

  /// From now on the server takes connections and bytes and says nothing, like a machine that
  /// hangs.
  void freeze();
  /// Ends it at once, as when its machine is switched off.
  void end();

  /// What was asked of the server since the last call, the numbers of the sessions left out; what
  /// the administrator asked by `order` and `run` included.
  [[nodiscard]] std::vector<std::string> take_log();

 private:
  TemporaryFolder folder_;
  pid_t process_ = -1;
  int input_ = -1;
  std::string port_;
  std::size_t read_ = 0;
  odbc::OdbcEngine engine_;
};

}  // namespace tarnwick::test_support
