#include "engines/sqlite/schema_version.h"

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/embedded_schema.h"

namespace tarnwick::sqlite {
namespace {

std::int64_t user_version(Database& database) {
  sqlite3_stmt* const statement = database.statement("PRAGMA dbo.user_version");
  const ResetAtEnd reset(statement);
  const int code = sqlite3_step(statement);
  if (code != SQLITE_ROW) database.fail(code);
  return sqlite3_column_int64(statement, 0);
}

}  // namespace

void require_own_schema(Database& database) {
  if (!has_roles(database)) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        u"it has no table DW_APP_ROLE and so no application role");
  }
  const auto version = user_version(database);
  if (version > kSchemaVersion) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        join({u"its tables are of version ", decimal(version),
                              u", which is newer than this program; it knows versions up to ",
                              decimal(kSchemaVersion)}));
  }
}

}  // namespace tarnwick::sqlite
