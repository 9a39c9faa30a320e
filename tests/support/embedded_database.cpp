#include "tests/support/embedded_database.h"

#include <array>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/support/one_round_hash.h"

namespace tarnwick::test_support {
namespace {

std::string embedded_schema() {
  std::ifstream file(EMBEDDED_SCHEMA);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A salt and one iteration of PBKDF2, as values of SQL: as much as has to be.
struct LightPassword {
  explicit LightPassword(TextView password) {
    constexpr std::array<unsigned char, 4> kSalt{'s', 'a', 'l', 't'};
    const auto bytes = one_round_hash(to_utf8(password), kSalt);
    salt = literal({reinterpret_cast<const char*>(kSalt.data()), kSalt.size()});
    hash = literal({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
  static std::string literal(std::string_view bytes) { return "X'" + hexadecimal(bytes) + "'"; }

  std::string salt;
  std::string hash;
};

std::string role_row(TextView role, TextView password) {
  const LightPassword light(password);
  return "INSERT INTO DW_APP_ROLE (RoleName, Salt, Iterations, Hash) VALUES ('" + to_utf8(role) +
         "', " + light.salt + ", 1, " + light.hash + ");";
}

}  // namespace

void lighten_role(const std::filesystem::path& file, TextView role, TextView password) {
  const LightPassword light(password);
  PlainSqlite(file).run("UPDATE DW_APP_ROLE SET Salt = " + light.salt +
                        ", Iterations = 1, Hash = " + light.hash + " WHERE RoleName = '" +
                        to_utf8(role) + "'");
}

EmbeddedDatabase::EmbeddedDatabase() {
  folder_.write("Velmar_Sec.db", "");
  run("PRAGMA synchronous = OFF; BEGIN;" + embedded_schema() + role_row(kRole, kPassword) +
      "COMMIT;");
}

Text EmbeddedDatabase::connection_string() const {
  return join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder_.path().string())});
}

std::string EmbeddedDatabase::value(const std::string& sql) const {
  const PlainSqlite::Rows rows = run(sql);
  if (rows.empty() || rows.front().empty()) return "(no row)";
  return rows.front().front();
}

void EmbeddedDatabase::loosen(const std::string& table, const std::string& constraint) const {
  std::string columns =
      value("SELECT group_concat(name) FROM (SELECT name FROM pragma_table_info('" + table +
            "') ORDER BY cid)");
  if (!constraint.empty()) columns.append(", ").append(constraint);
  run("DROP TABLE " + table + "; CREATE TABLE " + table + " (" + columns + ")");
}

}  // namespace tarnwick::test_support
