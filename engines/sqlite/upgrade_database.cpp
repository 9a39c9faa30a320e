#include "engines/sqlite/upgrade_database.h"

#include <iterator>
#include <string>

#include "engines/sqlite/database_file.h"
#include "engines/sqlite/embedded_schema.h"
#include "engines/sqlite/schema_version.h"

namespace tarnwick::sqlite {
namespace {

struct Step {
  const char* statements;
  TextView change;
};

/// Each brings tables of its own number to the next one.
constexpr Step kSteps[] = {
    // The last programs that gave no version made the index already.
    {"CREATE INDEX IF NOT EXISTS DW_SEC_PC_ComputerID ON DW_SEC_PC (ComputerID)",
     u"PCs are indexed by their computer id"},
};
static_assert(std::size(kSteps) == kSchemaVersion, "every version needs a way to the next");

void run(Database& database, const char* statements) {
  const int code = sqlite3_exec(database.handle(), statements, nullptr, nullptr, nullptr);
  if (code != SQLITE_OK) database.fail(code);
}

void upgrade(Database& database, Upgrade& result) {
  require_known_schema(database);
  result.from = result.to = user_version(database);
  if (!is_older_schema(database)) return;
  database.begin_immediate();
  // Somebody else may have been quicker, and done what this program does not know.
  require_known_schema(database);
  for (result.from = result.to = user_version(database); result.to < kSchemaVersion; ++result.to) {
    const Step& step = kSteps[result.to];
    run(database, step.statements);
    result.changes.emplace_back(step.change);
  }
  run(database, ("PRAGMA dbo.user_version = " + std::to_string(result.to)).c_str());
  database.commit();
}

}  // namespace

Upgrade upgrade_database(const std::filesystem::path& folder, TextView name) {
  Upgrade result{.file = database_file(folder, name)};
  require_database_file(result.file);
  try {
    Database database(result.file);
    upgrade(database, result);
  } catch (const ado::AdoError& failure) {
    throw ado::AdoError(static_cast<ado::AdoErrorNumber>(failure.number()),
                        join({u"The database ", file_text(result.file), u" cannot be upgraded: ",
                              failure.description()}),
                        failure.native(), {}, failure.kind());
  }
  return result;
}

bool needs_upgrade(const std::filesystem::path& folder, TextView name) {
  try {
    Database database(database_file(folder, name));
    return is_older_schema(database);
  } catch (const ado::AdoError&) {
    return false;
  }
}

}  // namespace tarnwick::sqlite
