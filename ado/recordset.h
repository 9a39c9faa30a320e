#pragma once

#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "ado/connection.h"
#include "ado/field.h"

namespace tarnwick::ado {

/// The rows of a statement, with ADO's rules: a current row between BOF and EOF, an edit buffer, a
/// buffer for a new row. A client cursor holds all its rows from the open on (and is static, whatever
/// type was asked for); a server cursor fetches as it moves and goes forward only. A row keeps the
/// values that it was fetched with; values written through the recordset itself replace them.
/// Not thread-safe. Holds its connection alive.
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
  [[nodiscard]] const std::shared_ptr<Connection>& active_connection() const { return connection_; }
  [[nodiscard]] CursorLocation cursor_location() const { return location_; }
  /// The type in force: a client cursor is static.
  [[nodiscard]] CursorType cursor_type() const;
  [[nodiscard]] LockType lock_type() const { return lock_; }

  /// Runs `statement` and stands on its first row, or at EOF and BOF when there is none. A statement
  /// without records leaves the recordset closed. Errors: 3705 when open, 3709 without an open
  /// connection, else the engine's (the recordset stays closed).
  void open(TextView statement, std::int32_t options = kOptionUnspecified);

  /// Errors: 3704 when closed, 3219 during an edit.
  void close();
  /// kClosed also once the connection was closed or lost.
  [[nodiscard]] ObjectState state() const;

  [[nodiscard]] bool bof() const;
  [[nodiscard]] bool eof() const;
  /// Exact for client cursors; -1 for server cursors. Error 3704 when closed.
  [[nodiscard]] std::int64_t record_count() const;

  /// Writes a pending edit first. Error 3021 when there is no row; a server cursor can only go back
  /// to its first row while it still stands there (3219 otherwise).
  void move_first();
  /// Writes a pending edit first. Error 3021 at EOF.
  void move_next();

  [[nodiscard]] std::size_t field_count() const;
  /// Error 3265 for a name (any letter case) or an index that is not there.
  [[nodiscard]] Field field(TextView name);
  [[nodiscard]] Field field(std::size_t index);

  /// Begins a new row; writes a pending edit first. Error 3251 when read-only.
  void add_new();
  /// Writes the edit buffer: only the columns that were assigned. Does nothing without an edit. An
  /// error keeps the edit pending.
  void update();
  /// Drops the edit buffer.
  void cancel_update();
  [[nodiscard]] EditMode edit_mode() const { return edit_mode_; }

 private:
  friend class Field;

  [[nodiscard]] Variant value_at(std::size_t column) const;
  [[nodiscard]] bool is_null_at(std::size_t column) const;
  void assign(std::size_t column, Variant value);
  void require_open() const;
  void require_row() const;
  void require_writable() const;
  void finish_edit();
  void fetch_next();
  void read_cells();
  void drop_rows();

  struct Written {
    std::optional<Variant> value;
  };

  std::shared_ptr<Connection> connection_;
  std::weak_ptr<EngineSession> session_;
  CursorLocation location_ = CursorLocation::kServer;
  CursorType type_ = CursorType::kForwardOnly;
  LockType lock_ = LockType::kReadOnly;

  std::unique_ptr<Rowset> rowset_;
  std::optional<RowBuffer> rows_;
  std::vector<Cell> cells_;  // of the current row
  std::size_t row_ = 0;      // of rows_; for a server cursor rows_ holds the current row alone
  std::size_t fetched_ = 0;  // rows that a server cursor has fetched
  bool at_end_ = false;

  EditMode edit_mode_ = EditMode::kNone;
  std::vector<std::optional<Variant>> edit_;
  // Values written through this recordset, by row; laid over what was fetched.
  std::unordered_map<std::size_t, std::vector<std::optional<Variant>>> written_;
};

}  // namespace tarnwick::ado
