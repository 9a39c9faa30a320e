#pragma once

#include "engines/sqlite/sqlite_rowset.h"

namespace tarnwick::sqlite {

/// Records that are read without being locked. They are read at the first fetch, all at once: a
/// statement that stays half read would keep the session from writing. Shows no value that another
/// session is about to replace: waits for the rows that others have locked, and reads again; unless
/// it is not to wait.
class ReadRowset final : public SqliteRowset {
 public:
  ReadRowset(OpenDatabase& database, Query query, std::shared_ptr<const Shape> records,
             bool wait_for_rows)
      : SqliteRowset(database, std::move(query), std::move(records)),
        wait_for_rows_(wait_for_rows) {}

  void fetch(ado::RowBuffer& rows, std::size_t limit) override;

 private:
  [[nodiscard]] ado::RowBuffer read_unlocked_rows();
  [[nodiscard]] std::optional<std::int64_t> locked_elsewhere(const ado::RowBuffer& rows) const;

  bool wait_for_rows_;
  std::optional<ado::RowBuffer> rows_;  // what was read and is still to be handed out
  std::size_t next_ = 0;
  bool at_end_ = false;
};

}  // namespace tarnwick::sqlite
