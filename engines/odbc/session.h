#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "ado/engine.h"
#include "ado/error.h"
#include "engines/odbc/connection_keywords.h"
#include "engines/odbc/diagnostics.h"
#include "engines/odbc/engine.h"
#include "engines/odbc/handles.h"
#include "engines/odbc/insert_block.h"
#include "engines/odbc/parameters.h"
#include "engines/odbc/result.h"
#include "engines/odbc/statement_text.h"

namespace tarnwick::odbc {

class OdbcRowset;
struct MaintainedTable;

/// One connection to a database server.
///
/// A connection serves one statement at a time: before the next one starts, a rowset that still has
/// rows on the way takes them all in.
///
/// In a load, rows that are inserted one behind the other go to the server in blocks.
///
/// When the server itself rolls a transaction back (a deadlock's victim above all), the session
/// does not pretend to hold it: until the rollback is asked for, every further step is refused.
///
/// Whatever the server is asked for ends after a time, on FreeTDS too (on others a commit ends when
/// their network layer gives up). A driver that complains of
/// nothing in particular is not believed to have a connection until a statement was answered.
class OdbcSession final : public ado::EngineSession {
 public:
  /// `statement_timeout`: seconds that a statement may take; 0 for ever.
  OdbcSession(OdbcApi& api, const ado::ConnectionString& string, std::uint32_t statement_timeout,
              Drivers drivers = Drivers::kAny);
  ~OdbcSession() override;
  OdbcSession(const OdbcSession&) = delete;
  OdbcSession& operator=(const OdbcSession&) = delete;

  void set_default_database(TextView name) override;
  void execute(TextView statement) override;
  [[nodiscard]] std::unique_ptr<ado::Rowset> open(const ado::RowsetRequest& request) override;
  void begin() override;
  void begin_load() override;
  void commit() override;
  void rollback() override;
  [[nodiscard]] bool alive() override;
  [[nodiscard]] std::optional<std::vector<Text>> columns_of(TextView table) override;
  [[nodiscard]] std::vector<ado::HeldRow> held_rows() override;
  [[nodiscard]] std::optional<ado::HeldRow> holder_of(const ado::RowName& row) override;
  [[nodiscard]] Text byte_length_of(TextView column) override;

  // For the session's rowsets.

  /// Runs one step with the server: refuses it where the connection or the transaction is gone, and
  /// takes note when the step finds that out.
  template <class F>
  auto step(F&& action);

  /// A statement to run next. Only inside a step.
  [[nodiscard]] Handle statement();
  /// Runs `text` as it stands. Only inside a step.
  [[nodiscard]] std::unique_ptr<Result> run(TextView text);
  /// Runs `read`, whose statements see the rows as they were committed and wait for nobody. False,
  /// and what it read is nothing, where the database keeps no versions for that, or inside a
  /// transaction. Only inside a step.
  [[nodiscard]] bool run_in_snapshot(const std::function<void()>& read);

  /// The columns that identify a row of the table, by the table's key; cached. Throws AdoError
  /// where it has none. Only inside a step.
  [[nodiscard]] const std::vector<Text>& key_columns(const TableSelect& table);

  /// Has the row inserted, in a load on a SQL Server together with others: by the next statement of
  /// any other kind at the latest. False where it cannot wait. Only inside a step.
  [[nodiscard]] bool insert_later(TextView table, const std::vector<InsertColumn>& columns,
                                  std::span<const ado::Assignment> row);

  /// Takes note where the server has rolled the transaction back. Throws ConnectionLost where an
  /// unclear error turns out to be the connection's end. For errors met outside a step.
  void look_after_error(const ado::AdoError& error);
  /// Takes note that the transaction has read or written rows.
  void touched_data() { touched_data_ = true; }

  [[nodiscard]] Text quote(TextView name) const;
  [[nodiscard]] bool is_sql_server() const { return is_sql_server_; }

  /// The rowset that has rows on the way, or nullptr.
  void set_reading(OdbcRowset* rowset) { reading_ = rowset; }
  [[nodiscard]] bool is_reading(const OdbcRowset* rowset) const { return reading_ == rowset; }

 private:
  void connect(const OdbcConnect& target);
  [[nodiscard]] SQLRETURN set(SQLINTEGER attribute, std::uintptr_t value);
  void log_in(TextView text, TextView password);
  [[nodiscard]] Text ask_driver(SQLUSMALLINT what) const;
  void learn_server(const OdbcConnect& target);
  void set_options();
  void match_isolation();
  void run_where_known(TextView statement);
  void set_auto_commit(bool on);
  void require_usable() const;
  void take_in_rest();
  void settle();
  void send_rows();
  [[nodiscard]] Handle make_statement(std::uint32_t timeout);
  [[nodiscard]] static std::unique_ptr<Result> run_on(Handle statement, TextView text);
  [[nodiscard]] bool transaction_survived();
  [[nodiscard]] bool answers();
  void leave_transaction();
  [[nodiscard]] std::vector<ado::HeldRow> read_stamps(const MaintainedTable& table,
                                                      TextView condition);
  [[nodiscard]] std::vector<Text> read_key(const TableSelect& table, bool primary);
  [[nodiscard]] std::vector<Text> ask_for_key(const TableSelect& table, bool primary);

  Handle environment_;
  Handle connection_;
  bool is_sql_server_ = false;
  Text quote_mark_;
  std::uint32_t statement_timeout_;
  std::map<Text, std::vector<Text>> keys_;
  OdbcRowset* reading_ = nullptr;

  bool in_transaction_ = false;
  bool loading_ = false;
  std::optional<InsertBlock> rows_to_send_;  // in a load
  bool touched_data_ = false;                // in this transaction
  bool rolled_back_ = false;                 // by the server
  bool lost_ = false;
};

template <class F>
auto OdbcSession::step(F&& action) {
  require_usable();
  try {
    return action();
  } catch (const ado::ConnectionLost&) {
    lost_ = true;
    throw;
  } catch (const ado::AdoError& error) {
    look_after_error(error);
    throw;
  }
}

}  // namespace tarnwick::odbc
