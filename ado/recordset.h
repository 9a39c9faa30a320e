#pragma once

#include <memory>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ado/connection.h"

namespace tarnwick::ado {

class Field;

/// The rows of a statement, with ADO's rules: a current row between BOF and EOF, an edit buffer, a
/// buffer for a new row. A client cursor holds all its rows from the open on (and is static,
/// whatever type was asked for); so does a static or keyset server cursor, unless it is
/// pessimistic. Any other server cursor fetches a row when it moves to it and goes forward only. A
/// row keeps the values that it was fetched with (also a row version that changes when the row is
/// written); only the values written through the recordset itself replace them. A read-only
/// recordset refuses edits with 3251. One with kBatchOptimistic does so too: its edits would wait
/// for a batch update, which is not offered. Not thread-safe. Holds its connection alive; closing
/// or losing the connection closes it.
class Recordset final {
 public:
  Recordset() = default;
  ~Recordset();
  Recordset(const Recordset&) = delete;
  Recordset& operator=(const Recordset&) = delete;

  /// These four: error 3705 while open. Setting the connection takes over its cursor location.
  void set_active_connection(std::shared_ptr<Connection> connection);
  void set_cursor_location(CursorLocation value);
  void set_cursor_type(CursorType value);
  void set_lock_type(LockType value);
  /// What `open` does about rows that other sessions maintain. For a recordset that locks rows it
  /// means nothing. Error 3705 while open.
  void set_held_rows(HeldRowReading value);
  [[nodiscard]] const std::shared_ptr<Connection>& active_connection() const { return connection_; }
  [[nodiscard]] CursorLocation cursor_location() const { return location_; }
  /// The type in force: a client cursor is static.
  [[nodiscard]] CursorType cursor_type() const;
  [[nodiscard]] LockType lock_type() const { return lock_; }

  /// `options` as those of Connection::execute. Runs `statement` and stands on its first row, or at
  /// EOF and BOF when there is none. A statement without records leaves the recordset closed.
  /// Errors: 3705 when open, 3709 without an open connection, 3001 for other options, else the
  /// engine's (the recordset stays closed).
  void open(TextView statement, std::int32_t options = kOptionUnspecified);

  /// Errors: 3704 when closed, 3219 during an edit.
  void close();
  /// kClosed also once the connection was closed or lost.
  [[nodiscard]] ObjectState state() const;

  // All that follow, but `edit_mode`: error 3704 when closed.

  /// True, together with `eof`, when there are no rows.
  [[nodiscard]] bool bof() const;
  [[nodiscard]] bool eof() const;
  /// Exact for a cursor that holds all its rows; -1 for one that goes forward only.
  [[nodiscard]] std::int64_t record_count() const;

  /// Writes a pending edit first. Error 3021 when there is no row; a cursor that goes forward only
  /// can go back to its first row while it still stands there (3219 otherwise).
  void move_first();
  /// Writes a pending edit first. Error 3021 at EOF.
  void move_next();

  [[nodiscard]] std::size_t field_count() const;
  /// Error 3265 for a name (any letter case) or an index that is not there.
  [[nodiscard]] Field field(TextView name);
  [[nodiscard]] Field field(std::size_t index);

  /// All rows of a cursor that holds them, as they were fetched; they stay when the recordset is
  /// closed. Error 3251 for another cursor.
  [[nodiscard]] std::shared_ptr<const RowBuffer> rows() const;
  /// The place of the current row in `rows`, and its values in the engine's form, with what was
  /// written through this recordset. Error 3021 without one.
  [[nodiscard]] std::size_t row() const;
  [[nodiscard]] std::span<const Cell> cells() const;
  /// Where the column stands; as `field`.
  [[nodiscard]] std::size_t position_of(TextView name) const;

  /// Begins a new row; writes a pending edit first. Once written it is the current row and the last
  /// one; its columns that were not assigned read as null.
  void add_new();
  /// Writes the edit buffer: only the columns that were assigned. Does nothing without an edit. An
  /// error keeps the edit pending.
  void update();
  /// Drops the edit buffer; after `add_new` the row that was the current one is so again.
  void cancel_update();
  [[nodiscard]] EditMode edit_mode() const { return edit_mode_; }

 private:
  friend class Connection;
  friend class Field;

  /// Values by column, where there are any.
  using Overlay = std::vector<std::optional<Variant>>;

  [[nodiscard]] const Text& name_of(std::size_t column) const;
  [[nodiscard]] Variant value_at(std::size_t column) const;
  [[nodiscard]] bool is_null_at(std::size_t column) const;
  void assign(std::size_t column, Variant value);
  /// The pending value of a column of the current or new row, or nullptr.
  [[nodiscard]] const Variant* assigned_value(std::size_t column) const;

  void require_open() const;
  void require_closed() const;
  /// A field taken before the recordset was opened anew may stand for a column that is gone.
  void require_column(std::size_t column) const;
  void require_row() const;
  void require_writable() const;
  [[nodiscard]] bool holds_all_rows() const;
  [[nodiscard]] std::size_t column_of(TextView name) const;

  void trace_edit(std::span<const Assignment> assigned) const;
  void finish_edit();
  void end_edit();
  void write_row(std::span<const Assignment> assigned);
  void insert_row(std::span<const Assignment> assigned);
  /// In place of the rows that are held.
  void fetch_next(std::size_t limit);
  void stand_on(std::size_t row);
  void stand_behind_last();
  /// Closes without a word to the engine's session, whatever is pending.
  void drop_rows();

  std::shared_ptr<Connection> connection_;
  CursorLocation location_ = CursorLocation::kServer;
  CursorType type_ = CursorType::kForwardOnly;
  LockType lock_ = LockType::kReadOnly;
  HeldRowReading held_rows_ = HeldRowReading::kWait;

  std::unique_ptr<Rowset> rowset_;   // set while open
  std::shared_ptr<RowBuffer> rows_;  // all rows, or the current one alone
  std::vector<Cell> cells_;          // of the current row
  std::size_t row_ = 0;              // the current row's place in rows_
  std::size_t rows_seen_ = 0;        // rows fetched and added since the open
  bool on_row_ = false;
  bool at_end_ = false;
  bool last_row_ = false;  // the current row was added and no row follows it

  EditMode edit_mode_ = EditMode::kNone;
  Overlay edit_;
  // Values written through this recordset, by place in rows_; laid over what was fetched.
  std::unordered_map<std::size_t, Overlay> written_;
};

/// A column of a recordset's current row. A light handle, for use while its recordset lives. All
/// members: error 3704 once the recordset is closed.
class Field {
 public:
  Field(Recordset& recordset, std::size_t index) : recordset_(&recordset), index_(index) {}

  [[nodiscard]] const Text& name() const { return recordset_->name_of(index_); }
  /// Error 3021 without a current row.
  [[nodiscard]] Variant value() const { return recordset_->value_at(index_); }
  /// Error 3021 without a current row.
  [[nodiscard]] bool is_null() const { return recordset_->is_null_at(index_); }
  /// Puts `value` as it is (Empty as Null) into the edit buffer of the current or new row, for
  /// Recordset::update. Errors: 3021, 3251 on a read-only recordset, 5 for a date outside the years
  /// 100 to 9999, which no engine keeps as one.
  void set_value(Variant value) { recordset_->assign(index_, std::move(value)); }

 private:
  Recordset* recordset_;
  std::size_t index_;
};

}  // namespace tarnwick::ado
