#include "engines/sqlite/catalog.h"

#include <algorithm>

namespace tarnwick::sqlite {

void Catalog::refresh(Database& database) {
  const auto version = database.schema_version();
  if (version == version_) return;
  std::vector<std::shared_ptr<const Table>> tables;
  sqlite3_stmt* const statement = database.statement(
      "SELECT t.name, c.name, c.cid, c.pk FROM dbo.sqlite_master t, pragma_table_xinfo(t.name, "
      "'main') c "
      "WHERE t.type = 'table' AND (c.pk > 0 OR c.name = 'SoftLock' COLLATE NOCASE) "
      "ORDER BY t.name, c.pk = 0, c.pk");
  const ResetAtEnd reset(statement);
  std::shared_ptr<Table> table;
  int code = sqlite3_step(statement);
  for (; code == SQLITE_ROW; code = sqlite3_step(statement)) {
    const auto text = [&](int column) {
      return std::string(reinterpret_cast<const char*>(sqlite3_column_text(statement, column)));
    };
    if (table == nullptr || table->name != text(0)) {
      table = std::make_shared<Table>();
      table->name = text(0);
      table->region = lock_region(table->name);
    }
    if (sqlite3_column_int(statement, 3) == 0) {
      table->soft_lock_column = sqlite3_column_int(statement, 2);
      continue;
    }
    if (table->key.empty()) tables.push_back(table);
    table->key.push_back(text(1));
    table->key_columns.push_back(sqlite3_column_int(statement, 2));
  }
  if (code != SQLITE_DONE) database.fail(code);
  tables_ = std::move(tables);
  version_ = version;
}

std::shared_ptr<const Table> Catalog::find(std::string_view name) const {
  const auto found = std::find_if(tables_.begin(), tables_.end(), [&](const auto& table) {
    return table->name.size() == name.size() &&
           sqlite3_strnicmp(table->name.data(), name.data(), static_cast<int>(name.size())) == 0;
  });
  return found == tables_.end() ? nullptr : *found;
}

}  // namespace tarnwick::sqlite
