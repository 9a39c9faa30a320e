#pragma once

#include "runtime/text.h"

namespace tarnwick::ado {

/// Receives one line per statement and transaction step, before it is carried out. Lines are the
/// same for all engines; the values of passwords are blanked.
///   Connect <connection string>            DefaultDatabase <name>        Disconnect
///   Execute <statement>                    Begin / Commit / Rollback
///   Open <client|server> <forward-only|keyset|dynamic|static>
///        <read-only|pessimistic|optimistic|batch>: <statement>           (one line)
///   Update <column>, <column>...           Insert <column>, <column>...
class Trace {
 public:
  virtual ~Trace() = default;
  virtual void line(TextView text) = 0;
};

/// `statement` with the password of sp_setapprole blanked, however malformed the statement is.
[[nodiscard]] Text without_role_password(TextView statement);

}  // namespace tarnwick::ado
