#include "records/record_lock.h"

#include "server/guard.h"

namespace tarnwick {

RecordLock::~RecordLock() {
  if (transaction_is_mine()) quietly([&] { update_release(*recordset_); });
}

bool RecordLock::locked() const {
  return locked_ && recordset_ != nullptr && recordset_->state() == ado::ObjectState::kOpen;
}

bool RecordLock::holds_row() const { return locked() && transaction_is_mine(); }

bool RecordLock::transaction_is_mine() const {
  if (recordset_ == nullptr || transaction_ == 0) return false;
  const auto& connection = recordset_->active_connection();
  return connection != nullptr && connection->transaction() == transaction_;
}

FetchOutcome RecordLock::fetch(TextView key, TableSelector table) {
  FetchedRow fetched = update_read(state_, key, table);
  recordset_ = std::move(fetched.recordset);
  const auto* connection = recordset_ == nullptr ? nullptr : recordset_->active_connection().get();
  transaction_ = connection == nullptr ? 0 : connection->transaction();
  locked_ = false;
  return fetched.outcome;
}

void RecordLock::hold() {
  locked_ = true;
  state_.maintenance_owned = true;
}

bool RecordLock::release() {
  const bool mine = transaction_is_mine();
  locked_ = false;
  return !mine || update_release(*recordset_);
}

void RecordLock::finish() {
  recordset_->close();
  recordset_.reset();
  locked_ = false;
}

}  // namespace tarnwick
