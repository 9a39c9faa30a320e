#include "records/record_lock.h"

#include "state/guard.h"

namespace tarnwick {

RecordLock::~RecordLock() {
  if (transaction_is_mine()) quietly([&] { update_release(*recordset_); });
}

bool RecordLock::locked() const {
  return locked_ && recordset_->state() == ado::ObjectState::kOpen;
}

bool RecordLock::holds_row() const { return locked() && transaction_is_mine(); }

bool RecordLock::transaction_is_mine() const {
  if (recordset_ == nullptr || transaction_ == 0) return false;
  return recordset_->active_connection()->transaction() == transaction_;
}

RecordLock::Fetch::Fetch(RecordLock& lock, TextView key, TableSelector table) : lock_(lock) {
  FetchedRow fetched = update_read(lock.state_, key, table);
  outcome_ = fetched.outcome;
  lock.recordset_ = std::move(fetched.recordset);
  const auto* connection =
      lock.recordset_ == nullptr ? nullptr : lock.recordset_->active_connection().get();
  lock.transaction_ = connection == nullptr ? 0 : connection->transaction();
  lock.locked_ = false;
}

RecordLock::Fetch::~Fetch() {
  if (!lock_.locked_ && lock_.transaction_is_mine()) {
    quietly([&] { update_release(*lock_.recordset_); });
  }
}

bool RecordLock::release() {
  locked_ = false;
  if (!transaction_is_mine()) return true;
  return update_release(*recordset_);
}

void RecordLock::finish() {
  recordset_->close();
  recordset_.reset();
  locked_ = false;
}

}  // namespace tarnwick
