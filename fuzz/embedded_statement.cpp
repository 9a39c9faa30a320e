// Statements of clients to the embedded engine, whole: whatever they ask, they get rows or an
// error, and what clients may not touch stays as it was.

#include <chrono>
#include <memory>
#include <string>

#include "ado/connection.h"
#include "ado/recordset.h"
#include "engines/sqlite/engine.h"
#include "fuzz/target.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::fuzz {
namespace {

class Client {
 public:
  Client() : connection_(std::make_shared<ado::Connection>(ado::Engines{&engine_})) {
    database_.run(
        "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'What was sold'), ('Stock', "
        "NULL)");
    connection_->open(database_.connection_string());
    connection_->set_default_database(u"Velmar_Sec");
    connection_->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    connection_->execute(u"SET LOCK_TIMEOUT 0");
  }

  void run(TextView statement, ado::CursorLocation location, ado::LockType lock) {
    connection_->begin_trans();
    try {
      ado::Recordset records;
      records.set_active_connection(connection_);
      records.set_cursor_location(location);
      records.set_lock_type(lock);
      records.open(statement);
      if (records.state() == ado::ObjectState::kOpen) read(records);
    } catch (const ado::AdoError& error) {
      require(!error.description().empty(), "an error says what it is");
    }
    connection_->rollback_trans();
  }

  [[nodiscard]] std::string protected_rows() const {
    return database_.value("SELECT group_concat(RoleName || quote(Hash)) FROM DW_APP_ROLE") +
           database_.value("SELECT group_concat(sql) FROM sqlite_schema") +
           database_.value("PRAGMA user_version");
  }

 private:
  static void read(ado::Recordset& records) {
    for (std::size_t row = 0; row < 50 && !records.eof(); ++row) {
      for (std::size_t column = 0; column < records.field_count(); ++column) {
        static_cast<void>(records.field(column).value());
      }
      records.move_next();
    }
  }

  test_support::EmbeddedDatabase database_;
  // No statement counts for ever.
  sqlite::SqliteEngine engine_{std::chrono::milliseconds(200)};
  std::shared_ptr<ado::Connection> connection_;
};

}  // namespace

void attempt(Input input) {
  static Client client;
  static const std::string before = client.protected_rows();
  const bool reading = input.choice(2) == 0;
  const Text statement = from_stored_utf8(input.rest());
  client.run(statement, reading ? ado::CursorLocation::kClient : ado::CursorLocation::kServer,
             reading ? ado::LockType::kReadOnly : ado::LockType::kPessimistic);
  require(client.protected_rows() == before, "no client changes roles, tables and versions");
}

}  // namespace tarnwick::fuzz
