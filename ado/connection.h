#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ado/engine.h"
#include "ado/enums.h"
#include "ado/error.h"
#include "ado/trace.h"

namespace tarnwick::ado {

class Recordset;

/// A connection to a database, with ADO's rules. Shared by the recordsets that are opened on it.
/// An end without `close` rolls an open transaction back. A connection that the engine has lost is
/// closed and its transaction is gone. Not thread-safe; `engines` and `trace` must outlive it.
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
  /// items "User ID" and "Password". `options`: kOptionUnspecified. Errors: 3705 when open, 3001
  /// for other options or a string that cannot be read, 3706 for an unknown or missing provider,
  /// else the engine's.
  void open(TextView connection_string = {}, TextView user = {}, TextView password = {},
            std::int32_t options = kOptionUnspecified);

  /// Closes the recordsets that are open on it, too; what they have not written is lost. Errors:
  /// 3704 when closed, 3246 inside a transaction (the connection stays open; but one whose database
  /// is gone has no transaction any more, and closes).
  void close();

  [[nodiscard]] ObjectState state() const;

  /// Errors: 3704 when closed, else the engine's.
  void set_default_database(TextView name);
  /// Empty until set, and again once closed.
  [[nodiscard]] const Text& default_database() const { return default_database_; }

  /// Runs a statement and drops its records. Errors: 3704 when closed, 3001 for an option that is
  /// not kCommandText or kExecuteNoRecords, else the engine's.
  void execute(TextView statement, std::int32_t options = kOptionUnspecified);

  /// What recordsets opened from now on inherit. kServer until set.
  void set_cursor_location(CursorLocation value) { cursor_location_ = value; }
  [[nodiscard]] CursorLocation cursor_location() const { return cursor_location_; }

  // These four: error 3704 when closed.

  /// Error -2147168237 inside a transaction: one at a time.
  void begin_trans();
  /// The same for a transaction that writes very many rows: it may keep all other writers of the
  /// database waiting until it ends.
  void begin_load();
  /// Error -2147168242 outside a transaction. A commit that fails leaves the transaction open.
  void commit_trans();
  /// Ends the transaction in any case: where the engine fails, its rollback is tried again before
  /// anything else is done on the connection.
  void rollback_trans();
  [[nodiscard]] bool in_transaction() const { return in_transaction_; }
  /// Which transaction of this connection is open, counted from 1; 0 outside a transaction.
  [[nodiscard]] std::uint64_t transaction() const { return in_transaction_ ? transactions_ : 0; }

  /// The rows that any session of the database maintains; see EngineSession.
  [[nodiscard]] std::vector<HeldRow> held_rows();
  /// Who maintains that row; see EngineSession. Error 3704 when closed.
  [[nodiscard]] std::optional<HeldRow> holder_of(const RowName& row);
  /// An expression for statements; see EngineSession. Error 3704 when closed.
  [[nodiscard]] Text byte_length_of(TextView column);

  /// The columns of `table`; see EngineSession. Error 3704 when closed.
  [[nodiscard]] std::optional<std::vector<Text>> columns_of(TextView table);

 private:
  friend class Recordset;

  /// Error 3001 unless `options` say that a statement is the text of a command.
  static void require_command_text(std::int32_t options);
  void require_open() const;
  void require_transaction() const;
  /// Runs `step` with the session, outside whatever an earlier transaction left behind. When the
  /// engine reports a lost connection, traces it and closes the connection before the error goes
  /// on.
  template <class Step>
  auto engine_step(Step&& step) {
    try {
      finish_rollback();
      return step(*session_);
    } catch (const ConnectionLost& error) {
      trace_failure(error);
      drop_session();
      throw;
    }
  }
  void finish_rollback();
  void trace_failure(const AdoError& error) const;
  void begin_with(void (EngineSession::*begin)());
  /// Ends the session, and before it the rowsets that live on it.
  void drop_session();
  template <class... Pieces>
  void trace_line(const Pieces&... pieces) const {
    if (trace_ != nullptr) trace_->line(join({pieces...}));
  }

  Engines engines_;
  Trace* trace_;
  Text connection_string_;
  Text default_database_;
  CursorLocation cursor_location_ = CursorLocation::kServer;
  std::unique_ptr<EngineSession> session_;
  std::vector<Recordset*> open_recordsets_;  // each enters at its open and leaves at its close
  bool in_transaction_ = false;
  bool rollback_due_ = false;       // the last one failed
  std::uint64_t transactions_ = 0;  // begun so far
};

}  // namespace tarnwick::ado
