// Statements as clients word them, before SQLite sees them: those that concern the session, and
// look-ups whose literals become parameters.

#include "engines/sqlite/session_statement.h"

#include <sqlite3.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "ado/error.h"
#include "engines/sqlite/query.h"
#include "engines/sqlite/statement_cache.h"
#include "fuzz/target.h"

namespace tarnwick::fuzz {
namespace {

using Rows = std::vector<std::string>;

class Tables {
 public:
  Tables() {
    sqlite3* opened = nullptr;
    require(sqlite3_open(":memory:", &opened) == SQLITE_OK, "a database in memory opens");
    database_.reset(opened);
    require(sqlite3_exec(opened,
                         "CREATE TABLE T (a TEXT PRIMARY KEY COLLATE NOCASE, b INTEGER, c);"
                         "INSERT INTO T VALUES ('', 0, NULL), ('x', 1, '1'), ('O''Brien', -7, 1),"
                         " ('1', 1, 1.0), ('-7', 7, x'78'), ('X ', 9223372036854775807, 'x');",
                         nullptr, nullptr, nullptr) == SQLITE_OK,
            "the table is made");
  }

  /// The rows as text; nothing where SQLite refuses the statement, or takes it for two.
  [[nodiscard]] std::optional<Rows> rows_of(const std::string& sql,
                                            std::span<const sqlite::StoredValue> values) const {
    sqlite3_stmt* prepared = nullptr;
    const char* tail = nullptr;
    const int result = sqlite3_prepare_v2(database_.get(), sql.data(), static_cast<int>(sql.size()),
                                          &prepared, &tail);
    const sqlite::StatementHandle statement(prepared);
    if (result != SQLITE_OK || prepared == nullptr || *tail != '\0') return std::nullopt;
    require(sqlite3_bind_parameter_count(prepared) == static_cast<int>(values.size()),
            "there is a value for each parameter");
    sqlite::bind_all(prepared, values);
    Rows rows;
    while (sqlite3_step(prepared) == SQLITE_ROW) {
      const auto* first = reinterpret_cast<const char*>(sqlite3_column_text(prepared, 0));
      rows.emplace_back(first == nullptr ? "NULL" : first);
    }
    return rows;
  }

 private:
  std::unique_ptr<sqlite3, decltype(&sqlite3_close)> database_{nullptr, sqlite3_close};
};

}  // namespace

void attempt(Input input) {
  static const Tables tables;
  const std::string statement(input.rest());
  if (statement.find('\0') != std::string::npos) return;  // sessions refuse it
  try {
    static_cast<void>(sqlite::parse_session_statement(statement));
  } catch (const ado::AdoError& error) {
    require(error.number() == -2147217900, "a malformed statement is a syntax error");
  }
  const auto query = sqlite::parameterized(statement);
  if (!query) return;
  require(query->columns.size() == query->values.size(), "every value has its column");
  require(tables.rows_of(statement, {}) == tables.rows_of(query->sql, query->values),
          "a look-up finds the same rows by parameters as by literals");
}

}  // namespace tarnwick::fuzz
