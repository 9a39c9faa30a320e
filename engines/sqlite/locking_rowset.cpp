#include "engines/sqlite/locking_rowset.h"

#include <algorithm>

namespace tarnwick::sqlite {

LockingRowset::LockingRowset(OpenDatabase& database, Query query,
                             std::shared_ptr<const Shape> records)
    : SqliteRowset(database, std::move(query), std::move(records)),
      lock_(database.locks, RowLocks::Set::Listing::kListed) {
  if (shape().table == nullptr) {
    throw ado::AdoError(ado::AdoErrorNumber::kFeatureNotAvailable,
                        u"The rows cannot be locked: the columns that are read do not hold the "
                        u"whole primary key of one table.");
  }
}

void LockingRowset::fetch(ado::RowBuffer& rows, std::size_t limit) {
  lock_.release();
  if (at_end_) return;
  database_.start_call();
  const bool first_fetch = !candidates_;
  if (first_fetch) {
    candidates_.emplace(columns().size());
    if (const auto key = key_looked_for()) {
      std::vector<ado::Cell> cells;
      for (const auto& value : *key) cells.push_back(cell_of(value));
      const auto outcome = lock_and_read(cells, rows);
      at_end_ = outcome == Outcome::kTimeout;
      if (outcome != Outcome::kGone) return;
    }
    read_all(*candidates_);
  }
  std::vector<ado::Cell> row(columns().size());
  while (limit > 0 && next_ < candidates_->rows()) {
    candidates_->read_row(next_, row);
    const auto outcome = lock_and_read(key_of(row), rows);
    if (outcome == Outcome::kTimeout) {
      if (!first_fetch) throw ado::lock_timeout();
      break;
    }
    ++next_;
    if (outcome == Outcome::kLocked) --limit;
  }
  at_end_ = limit > 0;
}

LockingRowset::Outcome LockingRowset::lock_and_read(std::span<const ado::Cell> key,
                                                    ado::RowBuffer& rows) {
  RowLocks::Set lock(database_.locks, RowLocks::Set::Listing::kListed);
  while (!database_.locks.try_lock(lock, *shape().table, key)) {
    if (!database_.database.time().pause()) return Outcome::kTimeout;
  }
  // Only now nobody else changes the row; its last holder may have.
  if (!read_row(key, rows)) return Outcome::kGone;
  if (database_.log.in_transaction()) {
    database_.log.transaction_locks().absorb(lock);
    database_.log.add_row_at_hand(*shape().table, key, version_of_last_row(rows));
  } else {
    lock_.absorb(lock);
  }
  return Outcome::kLocked;
}

std::optional<StoredValue> LockingRowset::version_of_last_row(const ado::RowBuffer& rows) const {
  const auto& origins = shape().origins;
  const auto version = std::find(origins.begin(), origins.end(), "RowVersion");
  if (version == origins.end()) return std::nullopt;
  std::vector<ado::Cell> row(columns().size());
  rows.read_row(rows.rows() - 1, row);
  return stored_value(row[static_cast<std::size_t>(version - origins.begin())]);
}

}  // namespace tarnwick::sqlite
