#include "engines/sqlite/sqlite_rowset.h"

#include <algorithm>
#include <limits>

#include "engines/sqlite/key_spelling.h"
#include "engines/sqlite/payload.h"

namespace tarnwick::sqlite {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

Reading reading_of(const char* declared_type) {
  const auto is_like = [&](const char* pattern) {
    return declared_type != nullptr && sqlite3_strlike(pattern, declared_type, 0) == 0;
  };
  if (is_like("BIT") || is_like("%BOOL%")) return Reading::kBoolean;
  if (is_like("%SMALLINT%")) return Reading::kSmallInteger;
  if (is_like("%DATE%")) return Reading::kDate;
  return Reading::kAsStored;
}

void append_integer(std::int64_t value, Reading reading, ado::RowBuffer& rows) {
  const auto fits = [&]<class T>(T /*type*/) {
    return value >= std::numeric_limits<T>::min() && value <= std::numeric_limits<T>::max();
  };
  if (reading == Reading::kBoolean) {
    rows.add_bool(value != 0);
  } else if (reading == Reading::kDate) {
    rows.add_date({static_cast<double>(value)});
  } else if (reading == Reading::kSmallInteger && fits(std::int16_t{})) {
    rows.add_int16(static_cast<std::int16_t>(value));
  } else if (fits(std::int32_t{})) {
    rows.add_int32(static_cast<std::int32_t>(value));
  } else {
    rows.add_int64(value);
  }
}

}  // namespace

Shape Shape::of(sqlite3_stmt* statement, const Catalog& catalog) {
  Shape shape;
  bool one_table = true;
  const int count = sqlite3_column_count(statement);
  for (int i = 0; i < count; ++i) {
    shape.columns.push_back({from_stored_utf8(sqlite3_column_name(statement, i))});
    shape.readings.push_back(reading_of(sqlite3_column_decltype(statement, i)));
    const char* const table = sqlite3_column_table_name(statement, i);
    const char* const schema = sqlite3_column_database_name(statement, i);
    const bool stored = table != nullptr && std::string_view(schema) != "temp";
    shape.origins.emplace_back(stored ? sqlite3_column_origin_name(statement, i) : "");
    if (!stored) continue;
    if (shape.base_table.empty()) shape.base_table = table;
    one_table = one_table && shape.base_table == table;
  }
  if (!one_table) shape.base_table.clear();

  const auto table = catalog.find(shape.base_table);
  if (table == nullptr) return shape;
  for (const auto& name : table->key) {
    const auto column = std::find(shape.origins.begin(), shape.origins.end(), name);
    if (column == shape.origins.end()) {
      shape.key.clear();
      return shape;
    }
    shape.key.push_back(static_cast<std::size_t>(column - shape.origins.begin()));
  }
  shape.table = table;
  return shape;
}

SqliteRowset::SqliteRowset(OpenDatabase& database, Query query,
                           std::shared_ptr<const Shape> records)
    : database_(database), query_(std::move(query)), shape_(std::move(records)) {
  if (shape().table != nullptr && has_payloads(*shape().table)) {
    without_payloads_ = sqlite::without_payloads(query_, *shape().table, shape().origins);
    schema_version_ = database_.catalog.version();
  }
}

void SqliteRowset::append_row(sqlite3_stmt* statement, ado::RowBuffer& rows) const {
  const int count = static_cast<int>(columns().size());
  const bool has_payload = sqlite3_column_count(statement) > count &&
                           sqlite3_column_type(statement, count) != SQLITE_NULL;
  int column = 0;
  for (const Reading reading : shape().readings) {
    if (has_payload && column == count - 1) {
      rows.add_bytes(read_payload(sqlite3_db_handle(statement), *shape().table,
                                  sqlite3_column_int64(statement, count)));
      break;
    }
    // Nobody else uses the connection: the value may be asked without the guards that the column's
    // own functions have.
    sqlite3_value* const value = sqlite3_column_value(statement, column++);
    switch (sqlite3_value_type(value)) {
      case SQLITE_INTEGER:
        append_integer(sqlite3_value_int64(value), reading, rows);
        break;
      case SQLITE_FLOAT:
        if (reading == Reading::kDate) {
          rows.add_date({sqlite3_value_double(value)});
        } else {
          rows.add_double(sqlite3_value_double(value));
        }
        break;
      case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
        rows.add_utf8({text, static_cast<std::size_t>(sqlite3_value_bytes(value))});
        break;
      }
      case SQLITE_BLOB: {
        const auto* bytes = static_cast<const std::byte*>(sqlite3_value_blob(value));
        rows.add_bytes({bytes, static_cast<std::size_t>(sqlite3_value_bytes(value))});
        break;
      }
      default:
        rows.add_null();
        break;
    }
  }
  rows.end_row();
}

template <class TakeRow>
bool SqliteRowset::run(Database& database, std::span<const StoredValue> values, TakeRow take_row) {
  // The list of columns is that of the table as it was.
  const bool apart = without_payloads_ && database.schema_version() == schema_version_;
  sqlite3_stmt* const statement =
      database.client_statement(apart ? *without_payloads_ : query_.sql);
  Execution execution(database, statement, values);
  const bool any = execution.next();
  // SQLite prepares a statement anew when the tables have changed: "*" may mean other columns now.
  const std::size_t expected = columns().size() + (apart ? 1 : 0);
  if (any && static_cast<std::size_t>(sqlite3_column_count(statement)) != expected) {
    throw AdoError(AdoErrorNumber::kUnspecified,
                   u"The table's columns have changed since the statement was opened.");
  }
  if (any) {
    while (take_row(statement) && execution.next()) {
    }
  }
  return any;
}

template <class TakeRow>
void SqliteRowset::for_each_row(Database& database, TakeRow take_row) {
  if (run(database, query_.values, take_row)) return;
  if (const auto values = values_of_other_spelling(database)) {
    static_cast<void>(run(database, *values, take_row));
  }
}

void SqliteRowset::read_all(ado::RowBuffer& rows) {
  database_.log.read([&](Database& database) {
    for_each_row(database, [&](sqlite3_stmt* statement) {
      append_row(statement, rows);
      return true;
    });
  });
}

bool SqliteRowset::read_row(std::span<const ado::Cell> key, ado::RowBuffer& rows) {
  const auto byte = lock_byte(shape().table->region, key);
  bool found = false;
  const auto look_for = [&](Database& database, auto&& matches) {
    std::vector<ado::Cell> candidate(key.size());
    for_each_row(database, [&](sqlite3_stmt* statement) {
      std::transform(
          shape().key.begin(), shape().key.end(), candidate.begin(),
          [&](std::size_t column) { return cell_of(statement, static_cast<int>(column)); });
      if (!matches(candidate)) return true;
      append_row(statement, rows);
      found = true;
      return false;
    });
  };
  database_.log.read([&](Database& database) {
    look_for(database, [&](const auto& candidate) { return same_key(candidate, key); });
    // The row that was locked may have got its key in other letters meanwhile, or have had it in
    // others all along.
    if (found) return;
    look_for(database, [&](const auto& candidate) {
      return lock_byte(shape().table->region, candidate) == byte;
    });
  });
  return found;
}

std::vector<std::size_t> SqliteRowset::key_positions() const {
  if (shape().table == nullptr) return {};
  const auto& key = shape().table->key;
  if (query_.columns.size() != key.size()) return {};
  std::vector<std::size_t> positions;
  for (const auto& name : key) {
    const auto found = std::find_if(
        query_.columns.begin(), query_.columns.end(),
        [&](const auto& column) { return sqlite3_stricmp(column.c_str(), name.c_str()) == 0; });
    if (found == query_.columns.end()) return {};
    positions.push_back(static_cast<std::size_t>(found - query_.columns.begin()));
  }
  return positions;
}

std::optional<std::vector<StoredValue>> SqliteRowset::key_looked_for() const {
  const auto positions = key_positions();
  if (positions.empty()) return std::nullopt;
  std::vector<StoredValue> key;
  key.reserve(positions.size());
  for (const auto position : positions) key.push_back(query_.values[position]);
  return key;
}

std::optional<std::vector<StoredValue>> SqliteRowset::values_of_other_spelling(
    Database& database) const {
  const auto key = key_looked_for();
  if (!key) return std::nullopt;
  auto spelling = other_spelling(database, *shape().table, *key);
  if (!spelling) return std::nullopt;
  std::vector<StoredValue> values(key->size());
  const auto positions = key_positions();
  for (std::size_t i = 0; i < positions.size(); ++i) {
    values[positions[i]] = std::move((*spelling)[i]);
  }
  return values;
}

std::vector<ado::Cell> SqliteRowset::key_of(std::span<const ado::Cell> row) const {
  std::vector<ado::Cell> key;
  key.reserve(shape().key.size());
  for (const auto column : shape().key) key.push_back(row[column]);
  return key;
}

const std::string& SqliteRowset::origin_of(const ado::Assignment& assignment) const {
  const auto& origin = shape().origins[assignment.column];
  if (shape().base_table.empty() || origin.empty()) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable,
                   join({u"The column '", columns()[assignment.column].name,
                         u"' cannot be written: it is no column of the one table that is read."}));
  }
  return origin;
}

void SqliteRowset::update(std::span<const ado::Cell> row,
                          std::span<const ado::Assignment> assigned) {
  if (shape().table == nullptr) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable,
                   u"The row cannot be updated: the columns that were read do not hold the whole "
                   u"primary key of one table.");
  }
  if (assigned.empty()) return;
  database_.start_call();
  RowUpdate update{.table = shape().table, .key = {}, .columns = {}};
  for (const auto column : shape().key) update.key.push_back(stored_value(row[column]));
  for (const auto& assignment : assigned) {
    update.columns.push_back({origin_of(assignment), stored_value(*assignment.value)});
  }
  require_free_key(update.key, assigned);
  database_.log.update(std::move(update), key_of(row));
}

void SqliteRowset::insert(std::span<const ado::Assignment> assigned) {
  if (shape().base_table.empty()) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable,
                   u"No row can be added: the columns that are read are not those of one table.");
  }
  database_.start_call();
  if (assigns_key(assigned)) require_free_key({}, assigned);
  Write write;
  write.one_row = true;
  std::string names;
  std::string places;
  RowUpdate payloads{.table = shape().table, .key = {}, .columns = {}};
  const bool apart = database_.log.in_transaction() && assigns_key(assigned);
  for (const auto& assignment : assigned) {
    const auto& column = origin_of(assignment);
    StoredValue value = stored_value(*assignment.value);
    if (apart && payloads.table->versioned && is_payload(value)) {
      payloads.columns.push_back({column, std::move(value)});
      continue;
    }
    names += (names.empty() ? "" : ", ") + identifier(column);
    places += places.empty() ? "?" : ", ?";
    write.values.push_back(std::move(value));
  }
  write.statement =
      "INSERT INTO dbo." + identifier(shape().base_table) +
      (names.empty() ? " DEFAULT VALUES" : " (" + names + ") VALUES (" + places + ")");
  if (payloads.columns.empty()) return database_.log.write(std::move(write));
  // The trigger that gives a new row its version writes the whole row again: a payload comes after
  // it.
  for (const auto column : shape().key) {
    const auto assignment = std::find_if(assigned.begin(), assigned.end(),
                                         [&](const auto& each) { return each.column == column; });
    payloads.key.push_back(stored_value(*assignment->value));
  }
  const std::vector<StoredValue> values = payloads.key;
  std::vector<ado::Cell> key;
  key.reserve(values.size());
  for (const auto& value : values) key.push_back(cell_of(value));
  const auto before = database_.log.size();
  database_.log.write(std::move(write));
  try {
    database_.log.update(std::move(payloads), key);
  } catch (...) {
    // Half a row must not be committed, nor stand in the way of the next attempt.
    database_.log.cut(before);
    throw;
  }
}

void SqliteRowset::require_free_key(std::span<const StoredValue> present,
                                    std::span<const ado::Assignment> assigned) {
  std::vector<StoredValue> key(present.begin(), present.end());
  key.resize(shape().key.size());
  for (const auto& assignment : assigned) {
    const auto place = std::find(shape().key.begin(), shape().key.end(), assignment.column);
    if (place == shape().key.end()) continue;
    key[static_cast<std::size_t>(place - shape().key.begin())] = stored_value(*assignment.value);
  }
  if (std::equal(key.begin(), key.end(), present.begin(), present.end())) return;
  if (!has_other_spellings(key)) return;
  const Table& table = *shape().table;
  database_.log.read([&](Database& database) {
    const auto taken = other_spelling(database, table, key);
    if (!taken || std::equal(taken->begin(), taken->end(), present.begin(), present.end())) return;
    std::string columns;
    for (const auto& name : table.key) {
      columns += (columns.empty() ? "" : ", ") + table.name + "." + name;
    }
    throw AdoError(AdoErrorNumber::kIntegrityViolation,
                   join({u"UNIQUE constraint failed: ", from_stored_utf8(columns)}),
                   SQLITE_CONSTRAINT_PRIMARYKEY);
  });
}

bool SqliteRowset::assigns_key(std::span<const ado::Assignment> assigned) const {
  if (shape().table == nullptr) return false;
  return std::all_of(shape().key.begin(), shape().key.end(), [&](const auto column) {
    return std::any_of(assigned.begin(), assigned.end(),
                       [&](const auto& each) { return each.column == column; });
  });
}

}  // namespace tarnwick::sqlite
