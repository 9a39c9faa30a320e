#pragma once

#include <memory>
#include <vector>

#include "ado/engine.h"
#include "ado/enums.h"
#include "ado/trace.h"

namespace tarnwick::ado {

/// A connection to a database, with ADO's rules. Shared by the recordsets that are opened on it.
/// An end without `close` rolls an open transaction back. Not thread-safe; `engines` and `trace`
/// must outlive it.
class Connection final {
 public:
  /// `trace` may be null.
  explicit Connection(Engines engines, Trace* trace = nullptr);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// Error 3705 while open.
  void set_connection_string(Text value);
  [[nodiscard]] const Text& connection_string() const { return connection_string_; }

  /// Opens by the connection string; the arguments, where not empty, take its place and that of its
  /// items "User ID" and "Password". Errors: 3705 when open, 3706 for an unknown or missing
  /// provider, else the engine's.
  void open(TextView connection_string = {}, TextView user = {}, TextView password = {},
            std::int32_t options = kOptionUnspecified);

  /// Errors: 3704 when closed, 3246 inside a transaction (the connection stays open).
  void close();

  [[nodiscard]] ObjectState state() const;

  void set_default_database(TextView name);
  [[nodiscard]] const Text& default_database() const { return default_database_; }

  void execute(TextView statement, std::int32_t options = kOptionUnspecified);

  /// What recordsets opened from now on inherit. kServer until set.
  void set_cursor_location(CursorLocation value) { cursor_location_ = value; }
  [[nodiscard]] CursorLocation cursor_location() const { return cursor_location_; }

  /// Error -2147168237 inside a transaction: one at a time.
  void begin_trans();
  /// Error -2147168242 outside a transaction. A commit that fails leaves the transaction open.
  void commit_trans();
  void rollback_trans();
  [[nodiscard]] bool in_transaction() const { return in_transaction_; }

  /// The rows that any session of the database maintains; see EngineSession.
  [[nodiscard]] std::vector<HeldRow> held_rows();

 private:
  friend class Recordset;
  EngineSession& session();
  /// Runs `step`; when the engine reports a lost connection the connection is closed before the
  /// error goes on.
  template <class F>
  auto engine_step(F&& step);
  void drop_session();
  void trace_line(TextView text) const;

  Engines engines_;
  Trace* trace_;
  Text connection_string_;
  Text default_database_;
  CursorLocation cursor_location_ = CursorLocation::kServer;
  // Shared with the rowsets of recordsets, which must die first: they hold it weakly.
  std::shared_ptr<EngineSession> session_;
  bool in_transaction_ = false;
};

}  // namespace tarnwick::ado
