#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"

namespace tarnwick::benchmarks {
namespace {

constexpr int kReports = 20'000;

// Texts one behind the other in large pieces of memory.
class Arena {
 public:
  std::string_view add(std::string_view text) {
    char* const place = room_for(text.size());
    if (!text.empty()) std::memcpy(place, text.data(), text.size());
    used_ += text.size();
    return {place, text.size()};
  }

  // Bytes of ISO-8859-1 as UTF-8.
  std::string_view add_latin1(std::string_view bytes) {
    const auto is_ascii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    if (std::all_of(bytes.begin(), bytes.end(), is_ascii)) return add(bytes);
    char* const place = room_for(2 * bytes.size());
    char* end = place;
    for (const char byte : bytes) {
      const auto value = static_cast<unsigned char>(byte);
      if (value >= 0x80) *end++ = static_cast<char>(0xC0 | (value >> 6));
      *end++ = value < 0x80 ? byte : static_cast<char>(0x80 | (value & 0x3F));
    }
    const auto size = static_cast<std::size_t>(end - place);
    used_ += size;
    return {place, size};
  }

 private:
  static constexpr std::size_t kChunk = std::size_t{1} << 20;

  char* room_for(std::size_t size) {
    if (size > size_ - used_) {
      size_ = std::max(size, kChunk);
      used_ = 0;
      chunks_.push_back(std::make_unique_for_overwrite<char[]>(size_));
    }
    return chunks_.back().get() + used_;
  }

  std::vector<std::unique_ptr<char[]>> chunks_;
  std::size_t size_ = 0;
  std::size_t used_ = 0;
};

// The fields of a report, typed as those of Report.
struct FloorReport {
  std::string_view name;
  std::string_view title;
  std::string_view author;
  std::string_view version;
  std::string_view group;
  std::string_view sql;
  std::string_view description;
  std::string_view soft_lock;
  std::string_view ttx;
  std::string_view definition;
  double created = 0;
  std::int64_t row_version = 0;
  std::int32_t type = 0;
  std::int32_t maintenance_type = 0;
  std::int16_t image_index = 0;
};

// The catalog: reports in their order, found by their names in any letter case.
class FloorCatalog {
 public:
  Arena texts;

  void add(const FloorReport& report) {
    if (2 * (reports_.size() + 1) > places_.size()) grow();
    reports_.push_back(report);
    if (!enter(reports_.size())) throw std::runtime_error("two reports of one name");
  }
  [[nodiscard]] std::size_t size() const { return reports_.size(); }

 private:
  static unsigned char folded(char letter) {
    const auto value = static_cast<unsigned char>(letter);
    return value >= 'a' && value <= 'z' ? static_cast<unsigned char>(value - 32) : value;
  }
  static std::size_t hash_of(std::string_view name) {
    std::uint64_t hash = 14695981039346656037u;
    for (const char letter : name) hash = (hash ^ folded(letter)) * 1099511628211u;
    return static_cast<std::size_t>(hash ^ (hash >> 29));
  }
  static bool same(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return folded(a) == folded(b); });
  }

  // False where another report has the name of the one at `position` (from 1).
  bool enter(std::size_t position) {
    const std::string_view name = reports_[position - 1].name;
    const std::size_t mask = places_.size() - 1;
    std::size_t place = hash_of(name) & mask;
    for (; places_[place] != 0; place = (place + 1) & mask) {
      if (same(reports_[places_[place] - 1].name, name)) return false;
    }
    places_[place] = static_cast<std::uint32_t>(position);
    return true;
  }

  void grow() {
    places_.assign(std::max<std::size_t>(1024, 2 * places_.size()), 0);
    for (std::size_t i = 1; i <= reports_.size(); ++i) enter(i);
  }

  std::vector<FloorReport> reports_;
  std::vector<std::uint32_t> places_;  // positions of reports, from 1; 0: free
};

std::string_view bytes_of(sqlite3_stmt* row, int column) {
  const void* const bytes = sqlite3_column_blob(row, column);
  return {static_cast<const char*>(bytes),
          static_cast<std::size_t>(sqlite3_column_bytes(row, column))};
}

std::int64_t version_of(sqlite3_stmt* row, int column) {
  std::int64_t version = 0;
  const std::string_view bytes = bytes_of(row, column);
  std::memcpy(&version, bytes.data(), std::min(bytes.size(), sizeof version));
  return version;
}

FloorReport read_report(sqlite3_stmt* row, Arena& texts) {
  const auto text = [&](int column) {
    const auto* const utf8 = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
    return texts.add({utf8, static_cast<std::size_t>(sqlite3_column_bytes(row, column))});
  };
  FloorReport report;
  report.name = text(0);
  report.title = text(1);
  report.author = text(2);
  report.created = sqlite3_column_double(row, 3);
  report.version = text(4);
  report.group = text(5);
  report.image_index = static_cast<std::int16_t>(sqlite3_column_int(row, 6));
  report.sql = text(7);
  report.type = text(8) == "CRY" ? 1 : 0;
  report.description = text(9);
  report.maintenance_type = sqlite3_column_int(row, 10);
  report.soft_lock = text(11);
  report.row_version = version_of(row, 12);
  report.ttx = texts.add_latin1(bytes_of(row, 13));
  report.definition = text(14);
  return report;
}

void load_by_hand(benchmark::State& state, const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  for (auto _ : state) {
    FloorCatalog reports;
    const Statement rows = prepare(
        database.get(),
        "SELECT ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, "
        "ReportType, ReportDesc, MaintType, SoftLock, RowVersion, TTX_Binary, Definition "
        "FROM DW_Reports ORDER BY ReportName");
    std::string last_ttx;
    while (step(rows.get())) {
      reports.add(read_report(rows.get(), reports.texts));
      if (sqlite3_column_type(rows.get(), 13) != SQLITE_NULL) last_ttx = bytes_of(rows.get(), 13);
    }
    // The intermediate file has the field definitions that were read last.
    if (!last_ttx.empty()) {
      std::ofstream(folder / "floor.bin", std::ios::binary)
          .write(last_ttx.data(), static_cast<std::streamsize>(last_ttx.size()));
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
