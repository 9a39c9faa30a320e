#include "engines/sqlite/statement_cache.h"

#include <algorithm>

namespace tarnwick::sqlite {

sqlite3_stmt* StatementCache::find(std::string_view sql) {
  const auto kept = std::find_if(kept_.begin(), kept_.end(),
                                 [&](const Kept& candidate) { return candidate.sql == sql; });
  if (kept == kept_.end()) return nullptr;
  std::rotate(kept_.begin(), kept, kept + 1);
  return kept_.front().statement.get();
}

sqlite3_stmt* StatementCache::keep(std::string_view sql, StatementHandle statement) {
  // SQLite keeps a copy of the text as well.
  const auto made = sqlite3_stmt_status(statement.get(), SQLITE_STMTSTATUS_MEMUSED, 0);
  const std::size_t bytes = 2 * sql.size() + static_cast<std::size_t>(std::max(made, 0));
  while (!kept_.empty() && (kept_.size() == kMostStatements || bytes_ + bytes > kMostBytes)) {
    bytes_ -= kept_.back().bytes;
    kept_.pop_back();
  }
  kept_.insert(kept_.begin(), Kept{std::string(sql), std::move(statement), bytes});
  bytes_ += bytes;
  return kept_.front().statement.get();
}

}  // namespace tarnwick::sqlite
