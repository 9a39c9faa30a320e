#pragma once

#include "engines/sqlite/sqlite_rowset.h"

namespace tarnwick::sqlite {

/// A pessimistic server cursor: locks each row before it hands it out. Inside a transaction the row
/// stays locked to its end, otherwise until the next fetch or the end of the rowset.
class LockingRowset final : public SqliteRowset {
 public:
  /// Throws for a statement whose rows cannot be told apart by a primary key.
  LockingRowset(OpenDatabase& database, Query query, std::shared_ptr<const Shape> records);

  void fetch(ado::RowBuffer& rows, std::size_t limit) override;

 private:
  enum class Outcome { kLocked, kGone, kTimeout };
  /// Locks the row with the key `key` and appends it, as it is then.
  [[nodiscard]] Outcome lock_and_read(std::span<const ado::Cell> key, ado::RowBuffer& rows);
  [[nodiscard]] std::optional<StoredValue> version_of_last_row(const ado::RowBuffer& rows) const;

  std::optional<ado::RowBuffer> candidates_;  // as they were before they were locked
  std::size_t next_ = 0;
  bool at_end_ = false;
  RowLocks::Set lock_;
};

}  // namespace tarnwick::sqlite
