#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "ado/connection_string.h"
#include "ado/enums.h"
#include "ado/row_buffer.h"
#include "runtime/variant.h"

namespace tarnwick::ado {

// What a database engine must offer. An engine knows nothing of open and closed objects, edit
// buffers or BOF and EOF: Connection and Recordset keep those rules, once for all engines.
// All functions throw AdoError; a lost database throws ConnectionLost, after which only the
// destructors are called. Single-threaded.

struct Column {
  Text name;
};

/// A new value for a column of the row that is written.
struct Assignment {
  std::size_t column = 0;  // index into Rowset::columns()
  const Variant* value = nullptr;
};

/// What a read without locks does about a row that another session maintains.
enum class HeldRowReading {
  kWait,         // waits for it
  kAsItStands,   // shows it, with or without what is not committed yet
  kAsCommitted,  // shows it as it was committed; where the database cannot, throws lock_timeout()
};

/// What Recordset::open asks for.
struct RowsetRequest {
  TextView statement;
  CursorLocation location = CursorLocation::kServer;
  CursorType type = CursorType::kForwardOnly;
  LockType lock = LockType::kReadOnly;
  HeldRowReading held_rows = HeldRowReading::kWait;

  /// A pessimistic server cursor locks the row that it fetches; asked for inside a transaction, the
  /// row stays locked until the transaction ends, otherwise until the next fetch or the end of the
  /// rowset. A row that cannot be locked within the lock time-out is not an error: the rowset opens
  /// and has no rows.
  [[nodiscard]] bool locks_rows() const {
    return location == CursorLocation::kServer && lock == LockType::kPessimistic;
  }
};

/// The result of one statement. Dies before its EngineSession.
class Rowset {
 public:
  virtual ~Rowset() = default;

  /// Empty when the statement returns no records.
  [[nodiscard]] virtual const std::vector<Column>& columns() const = 0;

  /// Appends up to `limit` further rows to `rows`; fewer mean that the end was reached. Waits for
  /// rows that another session maintains and throws lock_timeout() after the lock time-out.
  virtual void fetch(RowBuffer& rows, std::size_t limit) = 0;

  /// Writes the assigned columns, and only those, to the row `row` (one Cell a column): the values
  /// that were fetched, but those that this rowset itself has written since are the written ones,
  /// the key's too. Throws AdoErrorNumber::kRowNotLocated when that row is no longer there.
  virtual void update(std::span<const Cell> row, std::span<const Assignment> assigned) = 0;

  /// Inserts a row with the assigned columns, the others at their defaults.
  virtual void insert(std::span<const Assignment> assigned) = 0;
};

/// A row that some session maintains, for administrators.
struct HeldRow {
  Text table;
  Text key;                                // the row's key columns, readable
  Text stamp;                              // its SoftLock stamp: who, since when
  std::optional<std::int64_t> process_id;  // of the holder, where the engine knows it
};

/// Names a row of a table that is maintained.
struct RowName {
  Text table;
  std::vector<Text> key;  // the key columns' values, in the order of the table's key
};

/// One session on a database. Begins outside a transaction and with no lock time-out (waits for
/// ever). Its end rolls back and releases all that it held.
class EngineSession {
 public:
  virtual ~EngineSession() = default;

  virtual void set_default_database(TextView name) = 0;

  /// Runs a statement and drops the records that it returns. Outside a transaction it commits by
  /// itself.
  virtual void execute(TextView statement) = 0;

  [[nodiscard]] virtual std::unique_ptr<Rowset> open(const RowsetRequest& request) = 0;

  /// Called in turn only: begin, then commit or rollback. After a commit that threw the transaction
  /// is still open, unless the connection was lost. After a rollback that threw nothing else is
  /// called until a further one went through.
  virtual void begin() = 0;
  /// Begins a transaction that is to write very many rows, in time and memory that grow with their
  /// number alone. No other session may be able to write anything until it ends. Rows that are
  /// inserted may be sent later, together: by the next statement that is none of them, or the
  /// commit. A refusal is thrown by the step that sends them.
  virtual void begin_load() { begin(); }
  virtual void commit() = 0;
  virtual void rollback() = 0;

  /// False once the session is known to have lost its database; asks, where that is cheap. Never
  /// throws.
  [[nodiscard]] virtual bool alive() { return true; }

  /// The columns of `table`; none when there is no such table, nothing when it cannot be told.
  [[nodiscard]] virtual std::optional<std::vector<Text>> columns_of(TextView /*table*/) {
    return std::nullopt;
  }

  /// The rows that any session of the database maintains at the moment.
  [[nodiscard]] virtual std::vector<HeldRow> held_rows() = 0;

  /// Who maintains that row at the moment, if anybody does.
  [[nodiscard]] virtual std::optional<HeldRow> holder_of(const RowName& row);

  /// An expression for the length in bytes of what the column holds, which reads none of it.
  [[nodiscard]] virtual Text byte_length_of(TextView column);
};

/// Makes sessions.
class Engine {
 public:
  virtual ~Engine() = default;

  /// Values of the connection string item "Provider" that this engine serves (any letter case).
  [[nodiscard]] virtual std::span<const TextView> providers() const = 0;

  /// Throws AdoError for items that it does not know (the description names the item, never its
  /// value) and for a database that it cannot reach. ConnectionString::is_for_ole_db items are
  /// accepted.
  [[nodiscard]] virtual std::unique_ptr<EngineSession> connect(const ConnectionString& string) = 0;
};

/// The engines of a program. They outlive all connections.
using Engines = std::vector<Engine*>;

}  // namespace tarnwick::ado
