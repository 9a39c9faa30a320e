#include "engines/sqlite/catalog.h"

#include <algorithm>

#include "engines/sqlite/embedded_schema.h"
#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {
namespace {

std::string text_column(sqlite3_stmt* statement, int column) {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  // Untaken: it is null where memory runs out, which can happen at any step.
  return text != nullptr ? text : "";
}

std::vector<std::shared_ptr<Table>> read_tables(Database& database) {
  std::vector<std::shared_ptr<Table>> tables;
  sqlite3_stmt* const statement = database.statement(
      "SELECT t.name, c.name, c.cid, c.pk, c.\"notnull\" "
      "FROM dbo.sqlite_master t, pragma_table_xinfo(t.name, 'main') c "
      "WHERE t.type = 'table' ORDER BY t.name, c.pk");
  Execution columns(database, statement);
  std::shared_ptr<Table> table;
  while (columns.next()) {
    if (table == nullptr || table->name != text_column(statement, 0)) {
      table = std::make_shared<Table>();
      table->name = text_column(statement, 0);
      table->region = lock_region(table->name);
    }
    const auto column = text_column(statement, 1);
    const int position = sqlite3_column_int(statement, 2);
    if (sqlite3_column_int(statement, 3) != 0) {
      if (table->key.empty()) tables.push_back(table);
      table->key.push_back(column);
      table->key_columns.push_back(position);
    }
    if (sqlite3_column_int(statement, 4) != 0) table->required.push_back(column);
    if (sqlite3_stricmp(column.c_str(), "SoftLock") == 0) table->soft_lock_column = position;
  }
  return tables;
}

/// Looks whether the table, its triggers and its indexes are, word for word, those of the schema.
void compare_with_schema(Database& database, Table& table) {
  const StoredValue name[] = {table.name};
  sqlite3_stmt* const statement = database.statement(
      "SELECT sql FROM dbo.sqlite_master WHERE tbl_name = ? AND sql IS NOT NULL");
  Execution objects(database, statement, name);
  const std::string_view schema = kEmbeddedSchema;
  int triggers = 0;
  while (objects.next()) {
    const std::string sql = text_column(statement, 0);
    if (schema.find(sql) == std::string_view::npos) return;
    if (sql.starts_with("CREATE TRIGGER ")) ++triggers;
  }
  table.plain = true;
  table.versioned = triggers == 2;  // of an insert and of an update
}

}  // namespace

void Catalog::refresh(Database& database) {
  const auto version = database.schema_version();
  if (version == version_) return;
  const auto tables = read_tables(database);
  for (const auto& table : tables) compare_with_schema(database, *table);
  tables_.assign(tables.begin(), tables.end());
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
