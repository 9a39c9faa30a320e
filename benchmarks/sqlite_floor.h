#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>

#include "runtime/text.h"
#include "runtime/variant.h"

// SQLite's own interface, as the floors and the data sets use it: no more than what anybody would
// write around it by hand. All throw std::runtime_error.

namespace tarnwick::benchmarks {

struct CloseDatabase {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// Opened with the durability that the embedded engine has: every commit is on the disk.
[[nodiscard]] Database open_database(const std::filesystem::path& file);
void execute(sqlite3* database, const std::string& statements);
[[nodiscard]] Statement prepare(sqlite3* database, const std::string& statement);
/// Whether there is a row.
bool step(sqlite3_stmt* statement);

[[nodiscard]] Text text_column(sqlite3_stmt* statement, int column);
/// The blob in hexadecimal digits.
[[nodiscard]] Text hex_column(sqlite3_stmt* statement, int column);

}  // namespace tarnwick::benchmarks
