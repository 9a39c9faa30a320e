#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engines/sqlite/stored_value.h"

namespace tarnwick::sqlite {

/// A statement with the values of its parameters.
struct Query {
  std::string sql;
  std::vector<StoredValue> values;
  std::vector<std::string> columns;  // of a look-up: what the values are compared with
};

/// A look-up of rows by values, "SELECT * FROM table WHERE column = literal AND ..." or the same
/// with names of columns, with parameters in the place of its text and integer literals; nothing
/// for a statement of any other form. It means the same to SQLite, but need not be prepared anew
/// for every value.
[[nodiscard]] std::optional<Query> parameterized(std::string_view statement);

}  // namespace tarnwick::sqlite
