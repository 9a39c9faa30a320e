#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "engines/sqlite/database.h"
#include "engines/sqlite/row_key.h"

namespace tarnwick::sqlite {

/// What the engine knows of a table with a declared primary key.
struct Table {
  std::string name;
  ByteRange region;              // of the lock file
  std::vector<std::string> key;  // names of the key columns, in the key's order
  std::vector<int> key_columns;  // their positions in the table
  int soft_lock_column = -1;     // position of SoftLock, -1 without it
  /// A table of the embedded schema with nothing added to it: an update of a row that is there, and
  /// keeps its key, can fail by nothing but a null where none may be.
  bool plain = false;
  /// Such a table whose triggers bump the version of a row that is written, unless the writer did.
  bool versioned = false;
  std::vector<std::string> required;  // names of the columns that refuse a null
};

/// The tables of a database that have a primary key: the others know no row locks.
class Catalog final {
 public:
  /// Reads the tables anew if the schema has changed.
  void refresh(Database& database);

  /// That of the schema that was read.
  [[nodiscard]] std::int64_t version() const { return version_; }

  /// The table `name` (letter case of ASCII aside), or nullptr.
  [[nodiscard]] std::shared_ptr<const Table> find(std::string_view name) const;

 private:
  std::vector<std::shared_ptr<const Table>> tables_;
  std::int64_t version_ = -1;
};

}  // namespace tarnwick::sqlite
