#pragma once

#include <memory>

#include "records/row_fetch.h"
#include "state/shared_state.h"

namespace tarnwick {

/// The row that a record object has fetched for maintenance, and whether the object counts as
/// locked. The lock owns the transaction of its row from the fetch on, and no transaction outlives
/// its owner: what a fetch opened is rolled back with the fetch unless the object took it over, and
/// a lock that vanishes with its object rolls its transaction back.
class RecordLock {
 public:
  /// `state` must outlive this.
  explicit RecordLock(SharedState& state) : state_(state) {}
  ~RecordLock();
  RecordLock(const RecordLock&) = delete;
  RecordLock& operator=(const RecordLock&) = delete;

  /// Whether the object counts as locked. Stays so after a refused write, until it is released; but
  /// never outlives the connection.
  [[nodiscard]] bool locked() const;

  /// Whether the transaction that holds the row is still open.
  [[nodiscard]] bool holds_row() const;

  /// Fetches the row by update_read and keeps the recordset, whatever the outcome. At its end the
  /// transaction that it opened is rolled back, unless `hold` was called.
  class Fetch {
   public:
    Fetch(RecordLock& lock, TextView key, TableSelector table);
    ~Fetch();
    Fetch(const Fetch&) = delete;
    Fetch& operator=(const Fetch&) = delete;

    [[nodiscard]] FetchOutcome outcome() const { return outcome_; }
    /// The object counts as locked from now on, and keeps the row.
    void hold() { lock_.locked_ = true; }

   private:
    RecordLock& lock_;
    FetchOutcome outcome_;
  };

  /// The recordset that was fetched last; null when that fetch failed.
  [[nodiscard]] ado::Recordset* recordset() const { return recordset_.get(); }

  /// Gives the row back. Returns update_release's result; an object that counts as locked without a
  /// transaction of its own (its write was refused) is only unlocked: True.
  bool release();

  /// The row was written and committed: closes and drops the recordset, unlocks.
  void finish();

 private:
  [[nodiscard]] bool transaction_is_mine() const;

  SharedState& state_;
  std::shared_ptr<ado::Recordset> recordset_;
  std::uint64_t transaction_ = 0;  // of the recordset's connection; 0 without one
  bool locked_ = false;            // only with a recordset
};

/// LockRecord of every record class: True at once when locked; otherwise fetches the row and runs
/// `reload(recordset)`; the object is locked when that returned True, and otherwise keeps nothing
/// but the recordset.
template <class Reload>
bool lock_record(RecordLock& lock, TextView key, TableSelector table, Reload&& reload) {
  if (lock.locked()) return true;
  RecordLock::Fetch fetch(lock, key, table);
  if (lock.recordset() == nullptr || !reload(*lock.recordset())) return false;
  fetch.hold();
  return true;
}

}  // namespace tarnwick
