#pragma once

#include "runtime/text.h"

namespace tarnwick::ado {

/// Receives one line per statement and transaction step, before it is carried out, and one behind a
/// commit that failed and behind the step that found the connection lost: of these, accounts say
/// less. Lines are the same for all engines, but for what they say of a failure; the values of
/// passwords are blanked. A statement stands as it was given,
/// line breaks included: who writes lines to a file has to mark those.
/// @verbatim
///   Connect <connection string>            DefaultDatabase <name>        Disconnect
///   Execute <statement>                    Begin / Commit / Rollback
///   Open <client|server> <forward-only|keyset|dynamic|static>
///        <read-only|pessimistic|optimistic|batch>: <statement>           (one line)
///   Update <column>, <column>...           Insert <column>, <column>...
///   Failed <number> <the engine's own number>: <the engine's text>
/// @endverbatim
/// The cursor type is the one in force (see Recordset::cursor_type); columns stand in the order of
/// the statement's result.
class Trace {
 public:
  virtual ~Trace() = default;
  virtual void line(TextView text) = 0;
};

/// `statement` with the password of sp_setapprole blanked, however malformed the statement is:
/// EXEC sp_setapprole 'role','***'
[[nodiscard]] Text without_role_password(TextView statement);

}  // namespace tarnwick::ado
