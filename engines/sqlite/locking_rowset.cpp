#include "engines/sqlite/locking_rowset.h"

namespace tarnwick::sqlite {

LockingRowset::LockingRowset(OpenDatabase& database, std::string statement, Shape shape)
    : SqliteRowset(database, std::move(statement), std::move(shape)),
      lock_(database.locks, RowLocks::Set::Listing::kListed) {
  if (shape_.table == nullptr) {
    throw ado::AdoError(ado::AdoErrorNumber::kFeatureNotAvailable,
                        u"The rows cannot be locked: the columns that are read do not hold the "
                        u"whole primary key of one table.");
  }
}

void LockingRowset::fetch(ado::RowBuffer& rows, std::size_t limit) {
  if (at_end_) return;
  database_.start_wait();
  const bool first_fetch = !candidates_;
  if (first_fetch) {
    candidates_.emplace(columns().size());
    read_all(*candidates_);
  }
  lock_.release();
  std::vector<ado::Cell> row(columns().size());
  while (limit > 0 && next_ < candidates_->rows()) {
    candidates_->read_row(next_, row);
    const auto outcome = lock_and_read(row, rows);
    if (outcome == Outcome::kTimeout) {
      if (!first_fetch) throw ado::lock_timeout();
      break;
    }
    ++next_;
    if (outcome == Outcome::kLocked) --limit;
  }
  at_end_ = limit > 0;
}

LockingRowset::Outcome LockingRowset::lock_and_read(std::span<const ado::Cell> row,
                                                    ado::RowBuffer& rows) {
  const auto key = key_of(row);
  RowLocks::Set lock(database_.locks, RowLocks::Set::Listing::kListed);
  while (!database_.locks.try_lock(lock, *shape_.table, key)) {
    if (!database_.database.wait().pause()) return Outcome::kTimeout;
  }
  // Only now nobody else changes the row; its last holder may have.
  if (!read_row(key, rows)) return Outcome::kGone;
  auto& keeper = database_.log.in_transaction() ? database_.log.transaction_locks() : lock_;
  keeper.absorb(lock);
  return Outcome::kLocked;
}

}  // namespace tarnwick::sqlite
