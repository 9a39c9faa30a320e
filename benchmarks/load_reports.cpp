#include <fstream>
#include <memory>
#include <stdexcept>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"
#include "runtime/keyed_list.h"

namespace tarnwick::benchmarks {
namespace {

constexpr int kReports = 20'000;

// The fields of a report, typed as those of Report.
struct FloorReport {
  Text name;
  Text title;
  Text author;
  double created = 0;
  Text version;
  Text group;
  std::int16_t image_index = 0;
  Text sql;
  std::int32_t type = 0;
  Text description;
  std::int32_t maintenance_type = 0;
  Text soft_lock;
  Text row_version;
  Text ttx;
  Text definition;
};

// Through the file that the payload contract asks for, every byte one character.
Text ttx_by_hand(sqlite3_stmt* row, int column, const std::filesystem::path& file) {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(row, column));
  const auto size = static_cast<std::streamsize>(sqlite3_column_bytes(row, column));
  std::ofstream(file, std::ios::binary).write(bytes, size);
  std::string content(static_cast<std::size_t>(size), '\0');
  if (!std::ifstream(file, std::ios::binary).read(content.data(), size)) {
    throw std::runtime_error("the intermediate file cannot be read");
  }
  Text text(content.size(), u'\0');
  for (std::size_t i = 0; i < content.size(); ++i) {
    text[i] = static_cast<unsigned char>(content[i]);
  }
  return text;
}

std::shared_ptr<FloorReport> read_report(sqlite3_stmt* row, const std::filesystem::path& file) {
  auto report = std::make_shared<FloorReport>();
  report->name = text_column(row, 0);
  report->title = text_column(row, 1);
  report->author = text_column(row, 2);
  report->created = sqlite3_column_double(row, 3);
  report->version = text_column(row, 4);
  report->group = text_column(row, 5);
  report->image_index = static_cast<std::int16_t>(sqlite3_column_int(row, 6));
  report->sql = text_column(row, 7);
  report->type = text_column(row, 8) == u"CRY" ? 1 : 0;
  report->description = text_column(row, 9);
  report->maintenance_type = sqlite3_column_int(row, 10);
  report->soft_lock = text_column(row, 11);
  report->row_version = hex_column(row, 12);
  if (sqlite3_column_type(row, 13) != SQLITE_NULL) report->ttx = ttx_by_hand(row, 13, file);
  report->definition = text_column(row, 14);
  return report;
}

void load_by_hand(benchmark::State& state, const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  for (auto _ : state) {
    KeyedList<std::shared_ptr<FloorReport>> reports;
    const Statement rows = prepare(
        database.get(),
        "SELECT ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, "
        "ReportType, ReportDesc, MaintType, SoftLock, RowVersion, TTX_Binary, Definition "
        "FROM DW_Reports ORDER BY ReportName");
    while (step(rows.get())) {
      auto report = read_report(rows.get(), folder / "floor.bin");
      Text key = report->name;
      reports.add(std::move(key), std::move(report));
    }
    benchmark::DoNotOptimize(reports.size());
  }
}

void load_by_server(benchmark::State& state, const std::filesystem::path& folder) {
  BenchHost host(folder);
  const auto reports = host.server().reports();
  for (auto _ : state) {
    if (!reports->refresh() || reports->count() != kReports) {
      state.SkipWithError("the load failed");
    }
  }
}

Comparison loading(const std::filesystem::path& folder, const std::string& name) {
  return {.name = name,
          .ours = [=](benchmark::State& state) { load_by_server(state, folder); },
          .floor = [=](benchmark::State& state) { load_by_hand(state, folder); },
          .time_bar = 1.25,
          .memory_bar = 1.5};
}

}  // namespace

std::vector<Row> measure_report_loading(const std::filesystem::path& scratch) {
  const auto plain = scratch / "reports";
  make_dataset(plain, {.reports = kReports, .definition = 2048});
  const auto with_ttx = scratch / "reports-ttx";
  make_dataset(with_ttx, {.reports = kReports, .definition = 2048, .ttx = 2048});
  return compare({loading(plain, "load 20000 reports, definitions of 2 KB"),
                  loading(with_ttx, "load 20000 reports, field definitions of 2 KB too")});
}

}  // namespace tarnwick::benchmarks
