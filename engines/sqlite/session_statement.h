#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tarnwick::sqlite {

/// SET LOCK_TIMEOUT n
struct SetLockTimeout {
  std::int32_t milliseconds = 0;  // -1: for ever
};

/// EXEC sp_setapprole 'role','password'
struct SetAppRole {
  std::string role;
  std::string password;
};

using SessionStatement = std::variant<SetLockTimeout, SetAppRole>;

/// The statements that concern the session and not the tables, as SQL Server words them; nothing
/// for any other statement. Throws AdoError -2147217900 for one that begins like them and is
/// malformed; the description shows nothing of its arguments.
[[nodiscard]] std::optional<SessionStatement> parse_session_statement(std::string_view statement);

}  // namespace tarnwick::sqlite
