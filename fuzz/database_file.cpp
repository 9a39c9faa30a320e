// Files that are no databases, or not any more: whatever was written into one, its rows can be read
// or there is an error.

#include <chrono>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "ado/connection.h"
#include "ado/recordset.h"
#include "engines/sqlite/engine.h"
#include "fuzz/target.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::fuzz {
namespace {

std::string content_of(const test_support::EmbeddedDatabase& database) {
  database.run(
      "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType) VALUES (1, 'Suite', 0, "
      "0);"
      "INSERT INTO DW_Reports (ReportName, Title) VALUES ('Sales', 'What was sold'), ('Stock', "
      "NULL)");
  std::ifstream stream(database.file(), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

void read(const std::shared_ptr<ado::Connection>& connection, TextView statement) {
  try {
    ado::Recordset records;
    records.set_active_connection(connection);
    records.set_cursor_location(ado::CursorLocation::kClient);
    records.open(statement);
    for (; !records.eof(); records.move_next()) {
      for (std::size_t column = 0; column < records.field_count(); ++column) {
        static_cast<void>(records.field(column).value());
      }
    }
  } catch (const ado::AdoError& error) {
    require(!error.description().empty(), "an error says what it is");
  }
}

}  // namespace

void attempt(Input input) {
  static const test_support::EmbeddedDatabase database;
  static const std::string whole = content_of(database);
  std::string spoilt = whole;
  const std::size_t changes = 1 + input.choice(16);
  for (std::size_t change = 0; change < changes; ++change) {
    const auto place = static_cast<std::uint64_t>(input.integer()) % spoilt.size();
    spoilt[place] = static_cast<char>(input.byte());
  }
  if (input.choice(8) == 1)
    spoilt.resize(static_cast<std::uint64_t>(input.integer()) % spoilt.size());

  const test_support::TemporaryFolder folder;
  folder.write("Velmar_Sec.db", spoilt);
  sqlite::SqliteEngine engine{std::chrono::milliseconds(500)};
  const auto connection = std::make_shared<ado::Connection>(ado::Engines{&engine});
  try {
    connection->open(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.path().string())}));
    connection->set_default_database(u"Velmar_Sec");
    connection->execute(u"EXEC sp_setapprole 'Maintainer','sesame'");
    connection->execute(u"SET LOCK_TIMEOUT 0");
  } catch (const ado::AdoError& error) {
    require(!error.description().empty(), "an error says what it is");
  }
  if (connection->state() == ado::ObjectState::kClosed) return;
  read(connection, u"Select * From DW_SEC_COMP");
  read(connection, u"Select * From DW_Reports Where ReportName = 'sales'");
  read(connection, u"Select * From DW_SEC_PC Order By MACNbr");
}

}  // namespace tarnwick::fuzz
