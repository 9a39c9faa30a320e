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

ByteBuffer bytes_of(const ado::Cell& cell) { return {cell.data, cell.data + cell.size}; }

/// Looks at all bytes, so that the time does not tell how many are right.
bool same_bytes(const ByteBuffer& a, const ByteBuffer& b) {
  if (a.size() != b.size()) return false;
  auto difference = std::byte{0};
  for (std::size_t i = 0; i < a.size(); ++i) difference |= a[i] ^ b[i];
  return difference == std::byte{0};
}

}  // namespace

void add_role(Database& database, std::string_view name, std::string_view password) {
  const ByteBuffer salt = random_bytes(kSaltSize);
  const StoredValue values[] = {std::string(name), Blob{salt}, std::int64_t{kIterations},
                                Blob{pbkdf2_sha512(password, salt, kIterations, kHashSize)}};
  sqlite3_stmt* const statement = database.statement(
      "INSERT INTO dbo.DW_APP_ROLE (RoleName, Salt, Iterations, Hash) VALUES (?, ?, ?, ?)");
  Execution insert(database, statement, values);
  insert.next();
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

bool has_roles(Database& database) {
  sqlite3_stmt* const statement = database.statement(
      "SELECT 1 FROM dbo.sqlite_master WHERE type = 'table' AND name = 'DW_APP_ROLE'");
  return Execution(database, statement).next();
}

}  // namespace tarnwick::sqlite
