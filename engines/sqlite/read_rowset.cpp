#include "engines/sqlite/read_rowset.h"

#include <algorithm>

namespace tarnwick::sqlite {

void ReadRowset::fetch(ado::RowBuffer& rows, std::size_t limit) {
  if (at_end_) return;
  database_.start_call();
  if (!rows_) rows_ = read_unlocked_rows();
  if (next_ == 0 && rows.rows() == 0 && rows_->rows() <= limit) {
    rows = std::move(*rows_);
    next_ = rows.rows();
    at_end_ = true;
  } else {
    for (; limit > 0 && next_ < rows_->rows(); --limit) rows.add_row(*rows_, next_++);
    at_end_ = next_ == rows_->rows();
  }
  if (at_end_) rows_.reset();
}

ado::RowBuffer ReadRowset::read_unlocked_rows() {
  for (;;) {
    ado::RowBuffer rows(columns().size());
    read_all(rows);
    if (!wait_for_rows_) return rows;
    const auto byte = locked_elsewhere(rows);
    if (!byte) return rows;
    while (database_.locks.is_foreign(*byte)) {
      if (!database_.database.time().pause()) throw ado::lock_timeout();
    }
  }
}

std::optional<std::int64_t> ReadRowset::locked_elsewhere(const ado::RowBuffer& rows) const {
  if (shape().table == nullptr) return std::nullopt;
  const auto locks = database_.locks.foreign_locks(*shape().table);
  if (locks.empty()) return std::nullopt;
  std::vector<ado::Cell> cells(rows.columns());
  for (std::size_t row = 0; row < rows.rows(); ++row) {
    rows.read_row(row, cells);
    const auto byte = lock_byte(shape().table->region, key_of(cells));
    const auto lock = std::lower_bound(
        locks.begin(), locks.end(), byte,
        [](const ByteRange& range, std::int64_t wanted) { return range.last < wanted; });
    if (lock != locks.end() && lock->first <= byte) return byte;
  }
  return std::nullopt;
}

}  // namespace tarnwick::sqlite
