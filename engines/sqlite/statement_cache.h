#pragma once

#include <sqlite3.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::sqlite {

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using StatementHandle = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

/// Prepared statements by their text, the ones used last. Bounded by number and by bytes; only the
/// newest is kept whatever its size.
class StatementCache final {
 public:
  static constexpr std::size_t kMostStatements = 48;
  /// Of the texts and of what SQLite has made of them.
  static constexpr std::size_t kMostBytes = 4u << 20;

  /// Reset; or nullptr.
  [[nodiscard]] sqlite3_stmt* find(std::string_view sql);
  sqlite3_stmt* keep(std::string_view sql, StatementHandle statement);

  [[nodiscard]] std::size_t statements() const { return kept_.size(); }
  [[nodiscard]] std::size_t bytes() const { return bytes_; }

 private:
  struct Kept {
    std::string sql;
    StatementHandle statement;
    std::size_t bytes = 0;
  };

  std::vector<Kept> kept_;  // the one used last comes first
  std::size_t bytes_ = 0;
};

}  // namespace tarnwick::sqlite
