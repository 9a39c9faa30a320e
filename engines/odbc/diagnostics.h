#pragma once

#include <string>
#include <vector>

#include "ado/error.h"
#include "engines/odbc/handles.h"

namespace tarnwick::odbc {

/// One diagnostic record of a failed call.
struct Diagnostic {
  std::string sqlstate;
  std::int32_t native = 0;
  Text text;
};

/// SQL Server's number of a deadlock victim: the server has rolled the transaction back.
inline constexpr std::int32_t kNativeDeadlock = 1205;

/// The records that the last call left on `handle`, in the driver's order.
[[nodiscard]] std::vector<Diagnostic> read_diagnostics(const Handle& handle);

/// Throws what the records of the last call on `handle` mean:
/// a connection that is gone, by a record or by the driver's own attribute, is ConnectionLost, with
/// the number of a time-out where that is what ended it; a record with native 1222 is
/// lock_timeout(), whatever its SQLSTATE; an answer that did not come in time is a time-out;
/// otherwise an AdoError with the text, native number and SQLSTATE of the most telling record.
[[noreturn]] void raise_diagnostics(const Handle& handle);

/// A lost connection: says so, and behind it what the driver says.
[[nodiscard]] ado::ConnectionLost connection_lost(
    TextView drivers_text = {}, std::int32_t native = 0, std::string sqlstate = {},
    ado::AdoErrorNumber number = ado::AdoErrorNumber::kUnspecified);

/// True where the driver alone complains, of nothing in particular: the words in which some tell of
/// a connection that broke.
[[nodiscard]] bool is_unclear(const ado::AdoError& error);

/// The same for a failed connect, where a broken connection is no ConnectionLost. A text that holds
/// `password` is withheld.
[[noreturn]] void raise_connect_diagnostics(const Handle& connection, TextView password);

/// The error without its text where that might quote a part of the statement, which holds the
/// role's password; what the server says about the role itself stays, unless the statement is not
/// `well_formed`, and a part of the password may have been taken for a name.
[[nodiscard]] ado::AdoError without_statement_text(const ado::AdoError& error, bool well_formed);

}  // namespace tarnwick::odbc
