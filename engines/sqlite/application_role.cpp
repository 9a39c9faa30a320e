#include "engines/sqlite/application_role.h"

#include "engines/sqlite/password_hash.h"
#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {
namespace {

/// The number that OWASP's password storage guide gives for PBKDF2 with HMAC-SHA-512.
constexpr std::uint32_t kIterations = 210'000;
/// More would keep a session busy for minutes: the row is damaged or was tampered with.
constexpr std::int64_t kMostIterations = 20'000'000;
constexpr std::size_t kSaltSize = 16;
constexpr std::size_t kHashSize = 64;

/// SQL Server's native number for a role that cannot be entered.
constexpr std::int32_t kNativeCannotSetRole = 15161;

ByteBuffer bytes_of(const ado::Cell& cell) { return {cell.data, cell.data + cell.size}; }

/// Looks at all bytes, so that the time does not tell how many are right.
bool same_bytes(const ByteBuffer& a, const ByteBuffer& b) {
  if (a.size() != b.size()) return false;
  auto difference = std::byte{0};
  for (std::size_t i = 0; i < a.size(); ++i) difference |= a[i] ^ b[i];
  return difference == std::byte{0};
}

/// Runs a statement that yields nothing.
void run(Database& database, std::string_view sql, std::span<const StoredValue> values) {
  Execution(database, database.statement(sql), values).next();
}

/// Runs `sql`, which takes salt, iterations and hash of `password`, and then `name`.
void write_role(Database& database, std::string_view sql, std::string_view name,
                std::string_view password) {
  const ByteBuffer salt = random_bytes(kSaltSize);
  const StoredValue values[] = {Blob{salt}, std::int64_t{kIterations},
                                Blob{pbkdf2_sha512(password, salt, kIterations, kHashSize)},
                                std::string(name)};
  run(database, sql, values);
}

}  // namespace

void add_role(Database& database, std::string_view name, std::string_view password) {
  write_role(database,
             "INSERT INTO dbo.DW_APP_ROLE (Salt, Iterations, Hash, RoleName) VALUES (?, ?, ?, ?)",
             name, password);
}

void set_role_password(Database& database, std::string_view name, std::string_view password) {
  write_role(database,
             "UPDATE dbo.DW_APP_ROLE SET Salt = ?, Iterations = ?, Hash = ? WHERE RoleName = ?",
             name, password);
}

void remove_role(Database& database, std::string_view name) {
  const StoredValue values[] = {std::string(name)};
  run(database, "DELETE FROM dbo.DW_APP_ROLE WHERE RoleName = ?", values);
}

std::vector<std::string> role_names(Database& database) {
  sqlite3_stmt* const statement =
      database.statement("SELECT RoleName FROM dbo.DW_APP_ROLE ORDER BY RoleName");
  std::vector<std::string> names;
  Execution rows(database, statement);
  while (rows.next()) {
    const auto* name = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
    names.emplace_back(name, static_cast<std::size_t>(sqlite3_column_bytes(statement, 0)));
  }
  return names;
}

bool has_role(Database& database, std::string_view name) {
  const StoredValue role[] = {std::string(name)};
  return Execution(database, database.statement("SELECT 1 FROM dbo.DW_APP_ROLE WHERE RoleName = ?"),
                   role)
      .next();
}

bool role_admits(Database& database, std::string_view name, std::string_view password) {
  ByteBuffer salt(kSaltSize);
  ByteBuffer hash;
  std::int64_t iterations = kIterations;
  {
    const StoredValue role[] = {std::string(name)};
    sqlite3_stmt* const statement =
        database.statement("SELECT Salt, Iterations, Hash FROM dbo.DW_APP_ROLE WHERE RoleName = ?");
    Execution look_up(database, statement, role);
    if (look_up.next()) {
      salt = bytes_of(cell_of(statement, 0));
      iterations = sqlite3_column_int64(statement, 1);
      hash = bytes_of(cell_of(statement, 2));
      if (salt.empty() || hash.size() != kHashSize || iterations < 1 ||
          iterations > kMostIterations) {
        throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                            u"The application role's row in DW_APP_ROLE is damaged.");
      }
    }
  }
  const ByteBuffer given =
      pbkdf2_sha512(password, salt, static_cast<std::uint32_t>(iterations), kHashSize);
  return same_bytes(given, hash);
}

void require_role(Database& database, std::string_view name, std::string_view password) {
  if (role_admits(database, name, password)) return;
  throw ado::AdoError(ado::AdoErrorNumber::kAuthenticationFailed,
                      u"The application role does not exist, or the password is not its password.",
                      kNativeCannotSetRole);
}

std::string role_text(TextView text, TextView what) {
  try {
    if (text.find(u'\0') == TextView::npos) return to_utf8(text);
  } catch (const Error&) {
    // Refused below, as a NUL is.
  }
  throw ado::AdoError(ado::AdoErrorNumber::kInvalidArgument,
                      join({u"The ", what, u" holds a NUL character or an unpaired surrogate."}));
}

bool has_roles(Database& database) {
  sqlite3_stmt* const statement = database.statement(
      "SELECT 1 FROM dbo.sqlite_master WHERE type = 'table' AND name = 'DW_APP_ROLE'");
  return Execution(database, statement).next();
}

}  // namespace tarnwick::sqlite
