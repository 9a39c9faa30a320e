#include "benchmarks/dataset.h"

#include <fmt/core.h>

#include <string>

#include "benchmarks/sqlite_floor.h"
#include "engines/sqlite/create_database.h"

namespace tarnwick::benchmarks {
namespace {

constexpr TextView kName = u"Velmar_Sec";

void bind_text(sqlite3_stmt* statement, int parameter, const std::string& text) {
  sqlite3_bind_text(statement, parameter, text.c_str(), static_cast<int>(text.size()),
                    SQLITE_TRANSIENT);
}

void insert_pcs(sqlite3* database, int count) {
  const Statement insert = prepare(
      database,
      "INSERT INTO DW_SEC_PC (MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, "
      "LastUser, LastLogin, TotalLogins, ActivatedBy, ActivateDate, SoftLock, SoftwareVersion) "
      "VALUES (?, ?, ?, 5, 1, 10, ?, ?, ?, 'installer', 44000.5, '', '7.2.118')");
  for (int i = 0; i < count; ++i) {
    // Spread over the order of the MAC numbers, as real ones are.
    const auto scattered = static_cast<unsigned>(i) * 2654435761u;
    bind_text(insert.get(), 1, fmt::format("00-16-{:08X}", scattered));
    bind_text(insert.get(), 2, fmt::format("PC-{:07}", i));
    sqlite3_bind_int(insert.get(), 3, i % 40);
    bind_text(insert.get(), 4, fmt::format("user{:05}", i % 70000));
    sqlite3_bind_double(insert.get(), 5, 45000.25 + i % 900);
    sqlite3_bind_int(insert.get(), 6, i % 5000);
    step(insert.get());
    sqlite3_reset(insert.get());
  }
}

void insert_reports(sqlite3* database, const DatasetSize& size) {
  const Statement insert = prepare(
      database,
      "INSERT INTO DW_Reports (ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, "
      "SQLStmnt, ReportType, ReportDesc, MaintType, SoftLock, TTX_Binary, Definition) VALUES "
      "(?, 'Sales by region', 'A. Writer', 44000.5, '1.0.0', 'SALES', 11, "
      "'SELECT * FROM SALES', 'CRY', 'Turnover by region and month', 4, '', ?, ?)");
  const std::string definition(static_cast<std::size_t>(size.definition), 'd');
  const std::string ttx(static_cast<std::size_t>(size.ttx), 't');
  for (int i = 0; i < size.reports; ++i) {
    bind_text(insert.get(), 1, fmt::format("Report {:06}", i));
    if (size.ttx > 0) {
      sqlite3_bind_blob(insert.get(), 2, ttx.data(), static_cast<int>(ttx.size()), SQLITE_STATIC);
    }
    bind_text(insert.get(), 3, definition);
    step(insert.get());
    sqlite3_reset(insert.get());
  }
}

}  // namespace

std::filesystem::path database_file(const std::filesystem::path& folder) {
  return folder / (to_utf8(kName) + ".db");
}

void make_dataset(const std::filesystem::path& folder, const DatasetSize& size) {
  sqlite::create_database(folder, kName, kRole, kPassword);
  const Database database = open_database(database_file(folder));
  execute(database.get(), "BEGIN");
  insert_pcs(database.get(), size.pcs);
  insert_reports(database.get(), size);
  execute(database.get(), "COMMIT");
}

std::filesystem::path pc_dataset(const std::filesystem::path& scratch, int count) {
  auto folder = scratch / ("pcs-" + std::to_string(count));
  if (!std::filesystem::exists(folder)) make_dataset(folder, {.pcs = count});
  return folder;
}

}  // namespace tarnwick::benchmarks
