#include <memory>
#include <stdexcept>

#include "ado/recordset.h"
#include "apps/tarnwick/database/copy_database.h"
#include "benchmarks/copy_floor.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "engines/odbc/engine.h"
#include "engines/sqlite/engine.h"
#include "runtime/conversions.h"
#include "tests/stand_in/stand_in.h"

// What `tarnwick copy` does, to a stand-in for SQL Server through FreeTDS, against a loop written
// by hand with arrays of parameters.

namespace tarnwick::benchmarks {
namespace {

using test_support::StandIn;

constexpr int kPcs = 20'000;

std::shared_ptr<ado::Connection> connect(const ado::Engines& engines, const Text& string,
                                         TextView role, TextView password) {
  auto connection = std::make_shared<ado::Connection>(engines);
  connection->open(string, u"", u"");
  connection->set_default_database(u"Velmar_Sec");
  if (!role.empty()) {
    connection->execute(join({u"EXEC sp_setapprole '", role, u"','", password, u"'"}));
  }
  return connection;
}

void copy_by_command(benchmark::State& state, const std::filesystem::path& folder,
                     StandIn& server) {
  server.make_database();
  sqlite::SqliteEngine embedded;
  odbc::OdbcEngine odbc;
  const ado::Engines engines{&embedded, &odbc};
  const auto from = connect(
      engines, join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder.string())}),
      kRole, kPassword);
  for (auto _ : state) {
    // The floor connects as well.
    const auto to = connect(engines, server.connection_string(), u"", u"");
    const auto copied = cli::copy_database(from, to, [](TextView, std::size_t, std::size_t) {});
    if (copied[1].rows != kPcs) state.SkipWithError("the copy failed");
  }
}

std::int32_t rows_in(const StandIn& server) {
  odbc::OdbcEngine engine;
  const auto connection = connect({&engine}, server.connection_string(), u"", u"");
  ado::Recordset counted;
  counted.set_active_connection(connection);
  counted.open(u"Select Count(*) As N From DW_SEC_PC", ado::kCommandText);
  return to_int32(counted.field(u"N").value());
}

void copy_by_hand(benchmark::State& state, const std::filesystem::path& folder, StandIn& server) {
  server.make_database();
  const Text source = server.data_source();
  const std::size_t comma = source.find(u',');
  const Text connect = join({u"Driver={FreeTDS};Server=", source.substr(0, comma), u";Port=",
                             source.substr(comma + 1), u";TDS_Version=7.4;UID=", StandIn::kUser,
                             u";PWD=", StandIn::kPassword, u";Database=Velmar_Sec"});
  for (auto _ : state) copy_by_row_arrays(folder, connect);
  if (rows_in(server) != kPcs) state.SkipWithError("the copy failed");
}

}  // namespace

std::vector<Row> measure_copy(const std::filesystem::path& scratch) {
  const auto folder = scratch / "copy";
  make_dataset(folder, {.pcs = kPcs});
  StandIn server;
  return compare({{.name = "copy 20000 PCs to SQL Server's stand-in",
                   .ours = [&](benchmark::State& state) { copy_by_command(state, folder, server); },
                   .floor = [&](benchmark::State& state) { copy_by_hand(state, folder, server); },
                   .runs = 3,
                   .time_bar = 3}});
}

}  // namespace tarnwick::benchmarks
