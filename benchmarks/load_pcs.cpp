#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/floor_register.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"

namespace tarnwick::benchmarks {
namespace {

void load_by_hand(benchmark::State& state, const std::filesystem::path& folder, int expected) {
  const Database database = open_database(database_file(folder));
  const Statement rows = prepare(database.get(), kFloorList);
  for (auto _ : state) {
    FloorRegister pcs;
    pcs.load(rows.get());
    sqlite3_reset(rows.get());
    if (pcs.size() != static_cast<std::size_t>(expected)) state.SkipWithError("rows are missing");
  }
}

void load_by_server(benchmark::State& state, const std::filesystem::path& folder, int expected) {
  BenchHost host(folder);
  const auto pcs = host.server().registered_pcs();
  for (auto _ : state) {
    if (!pcs->refresh() || pcs->count() != expected) state.SkipWithError("the load failed");
  }
}

}  // namespace

std::vector<Row> measure_pc_loading(const std::filesystem::path& scratch) {
  std::vector<Row> rows;
  std::vector<double> seconds_per_row;
  for (const int count : {200'000, 1'000'000}) {
    const auto folder = pc_dataset(scratch, count);
    const Side ours = [=](benchmark::State& state) { load_by_server(state, folder, count); };
    const Side floor = [=](benchmark::State& state) { load_by_hand(state, folder, count); };
    const auto compared = compare({{.name = "load " + std::to_string(count) + " PCs",
                                    .ours = ours,
                                    .floor = floor,
                                    .time_bar = 1.25,
                                    .memory_bar = 1.5}});
    rows.insert(rows.end(), compared.begin(), compared.end());
    seconds_per_row.push_back(measure(ours, 1, 2).seconds / count);
  }
  // Linear: a row of a million costs what a row of 200,000 costs. Five times the rows no longer fit
  // the caches, so a little more is no sign of a worse than linear algorithm.
  rows.push_back({"cost of a row, 1000000 PCs over 200000",
                  seconds_per_row.back() / seconds_per_row.front(), 1.5});
  return rows;
}

}  // namespace tarnwick::benchmarks
