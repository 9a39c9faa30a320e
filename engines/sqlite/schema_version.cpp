#include "engines/sqlite/schema_version.h"

#include "engines/sqlite/application_role.h"
#include "engines/sqlite/embedded_schema.h"

namespace tarnwick::sqlite {
namespace {

/// The only number in the first row of what `sql` yields.
std::int64_t number(Database& database, std::string_view sql) {
  Execution execution(database, database.statement(sql));
  execution.next();
  return sqlite3_column_int64(execution.statement(), 0);
}

[[noreturn]] void refuse(TextView why) {
  throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, Text(why));
}

}  // namespace

std::int64_t user_version(Database& database) {
  return number(database, "PRAGMA dbo.user_version");
}

bool is_older_schema(Database& database) {
  // Views of these names were made otherwise.
  constexpr std::int64_t kTables = 4;
  const auto version = user_version(database);
  return version >= 0 && version < kSchemaVersion &&
         number(database,
                "SELECT count(*) FROM dbo.sqlite_master WHERE type = 'table' AND name IN "
                "('DW_ROW_VERSION', 'DW_SEC_COMP', 'DW_SEC_PC', 'DW_Reports')") == kTables;
}

void require_known_schema(Database& database) {
  if (!has_roles(database)) refuse(u"it has no table DW_APP_ROLE and so no application role");
  const auto version = user_version(database);
  if (version > kSchemaVersion) {
    refuse(join({u"its tables are of version ", decimal(version),
                 u", which is newer than this program; it knows versions up to ",
                 decimal(kSchemaVersion)}));
  }
}

void require_own_schema(Database& database) {
  require_known_schema(database);
  if (is_older_schema(database)) {
    refuse(join({u"its tables are of version ", decimal(user_version(database)),
                 u", which is older than this program; run 'tarnwick upgrade', which brings them "
                 u"to version ",
                 decimal(kSchemaVersion)}));
  }
}

}  // namespace tarnwick::sqlite
