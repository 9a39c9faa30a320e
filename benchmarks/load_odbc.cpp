#include <cstdlib>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/odbc_floor.h"
#include "benchmarks/sqlite_floor.h"
#include "engines/odbc/engine.h"
#include "platform/linux/host.h"
#include "platform/unattended_message_box.h"
#include "server/server.h"

// Loading through ODBC. No SQL Server is to be had, so both sides read an SQLite file through its
// ODBC driver.

namespace tarnwick::benchmarks {
namespace {

constexpr int kPcs = 200'000;

/// A session on SQLite's driver, which the object model takes for a SQL Server's: statements about
/// the session mean nothing there.
class SqliteSession final : public ado::EngineSession {
 public:
  explicit SqliteSession(std::unique_ptr<ado::EngineSession> session)
      : session_(std::move(session)) {}

  void set_default_database(TextView) override {}
  void execute(TextView) override {}
  std::unique_ptr<ado::Rowset> open(const ado::RowsetRequest& request) override {
    return session_->open(request);
  }
  void begin() override { session_->begin(); }
  void commit() override { session_->commit(); }
  void rollback() override { session_->rollback(); }
  std::vector<ado::HeldRow> held_rows() override { return session_->held_rows(); }

 private:
  std::unique_ptr<ado::EngineSession> session_;
};

class SqliteByOdbc final : public ado::Engine {
 public:
  std::span<const TextView> providers() const override { return odbc_.providers(); }
  std::unique_ptr<ado::EngineSession> connect(const ado::ConnectionString& string) override {
    return std::make_unique<SqliteSession>(odbc_.connect(string));
  }

 private:
  odbc::OdbcEngine odbc_;
};

/// The PCs of a data set in a table with the types that SQL Server's has; dates stay numbers, as
/// the driver reads them no other way.
void make_table(const std::filesystem::path& file, const std::filesystem::path& dataset) {
  std::ofstream(file).close();  // an empty file is an empty database
  const Database database = open_database(file);
  execute(database.get(), "ATTACH '" + database_file(dataset).string() + "' AS made");
  std::string columns;
  {
    const Statement described =
        prepare(database.get(),
                "SELECT name || ' ' || CASE type WHEN 'DATETIME REAL' THEN 'float' "
                "WHEN 'BLOB' THEN 'varbinary(8)' ELSE type END "
                "FROM pragma_table_info('DW_SEC_PC', 'made') ORDER BY cid");
    while (step(described.get())) {
      columns.append(columns.empty() ? "" : ", ").append(to_utf8(text_column(described.get(), 0)));
    }
  }
  execute(database.get(), "CREATE TABLE main.DW_SEC_PC (" + columns +
                              "); INSERT INTO main.DW_SEC_PC SELECT * FROM made.DW_SEC_PC; "
                              "DETACH made");
}

void load_by_server(benchmark::State& state, const std::filesystem::path& folder,
                    const Text& connect) {
  platform::UnattendedMessageBox box({}, [](TextView) {});
  platform::LinuxHost host(box, folder);
  SqliteByOdbc engine;
  SharedState shared(host, {&engine});
  Server server(shared);
  for (auto _ : state) {
    // The floor connects as well.
    const bool connected = server.set_connection(join({u"Provider=MSDASQL;", connect}), u"", u"");
    if (!connected || !server.registered_pcs()->refresh() ||
        server.registered_pcs()->count() != kPcs) {
      throw std::runtime_error("the load failed: " + to_display_utf8(server.last_error_msg()));
    }
  }
}

void load_by_hand(benchmark::State& state, const Text& connect) {
  for (auto _ : state) {
    if (load_by_odbc(connect).size() != kPcs) state.SkipWithError("the load failed");
  }
}

}  // namespace

std::vector<Row> measure_odbc_loading(const std::filesystem::path& scratch) {
  const auto folder = scratch / "odbc";
  make_dataset(folder / "made", {.pcs = kPcs});
  make_table(folder / "pcs.db", folder / "made");
  std::ofstream(folder / "odbcinst.ini") << "[SQLite]\nDriver=libsqlite3odbc.so\n";
  setenv("ODBCSYSINI", folder.c_str(), 1);
  const Text connect =
      join({u"Driver={SQLite};Database=", from_utf8((folder / "pcs.db").string())});
  return compare({{.name = "load 200000 PCs through ODBC",
                   .ours = [=](benchmark::State& state) { load_by_server(state, folder, connect); },
                   .floor = [=](benchmark::State& state) { load_by_hand(state, connect); },
                   .time_bar = 1.25,
                   .memory_bar = 1.5}});
}

}  // namespace tarnwick::benchmarks
