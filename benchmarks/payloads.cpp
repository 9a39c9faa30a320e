#include <fcntl.h>
#include <fmt/core.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"
#include "runtime/descriptor_linux.h"

namespace tarnwick::benchmarks {
namespace {

constexpr std::size_t kSize = std::size_t{500} << 20;
constexpr std::size_t kPiece = std::size_t{1} << 20;
constexpr int kRuns = 3;
constexpr TextView kReport = u"Report 000000";

struct Files {
  std::filesystem::path database;
  std::filesystem::path payload;
  std::filesystem::path extracted;
};

// No two megabytes alike, and nothing that could be packed.
void make_payload(const std::filesystem::path& file) {
  std::ofstream stream(file, std::ios::binary);
  std::vector<std::uint64_t> piece(kPiece / sizeof(std::uint64_t));
  std::uint64_t value = 1;
  for (std::size_t written = 0; written < kSize; written += kPiece) {
    for (auto& each : piece) each = value = value * 6364136223846793005u + 1442695040888963407u;
    stream.write(reinterpret_cast<const char*>(piece.data()), kPiece);
  }
  if (!stream.flush()) throw std::runtime_error("the report file cannot be made");
}

bool same_content(const std::filesystem::path& one, const std::filesystem::path& other) {
  std::ifstream first(one, std::ios::binary);
  std::ifstream second(other, std::ios::binary);
  std::vector<char> a(kPiece);
  std::vector<char> b(kPiece);
  while (first.read(a.data(), kPiece) && second.read(b.data(), kPiece)) {
    if (a != b) return false;
  }
  return first.gcount() == 0 &&
         std::filesystem::file_size(one) == std::filesystem::file_size(other);
}

// SQLite's functions for a part of a value, on the report's file.
class FloorBlob {
 public:
  FloorBlob(sqlite3* database, bool write) {
    const Statement row = prepare(database, "SELECT rowid FROM DW_Reports");
    step(row.get());
    if (sqlite3_blob_open(database, "main", "DW_Reports", "Report_Binary",
                          sqlite3_column_int64(row.get(), 0), write ? 1 : 0, &blob_) != SQLITE_OK) {
      throw std::runtime_error(sqlite3_errmsg(database));
    }
  }
  ~FloorBlob() { sqlite3_blob_close(blob_); }
  FloorBlob(const FloorBlob&) = delete;
  FloorBlob& operator=(const FloorBlob&) = delete;
  [[nodiscard]] sqlite3_blob* get() const { return blob_; }

 private:
  sqlite3_blob* blob_ = nullptr;
};

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(std::string(what) + " failed");
}

void store_by_hand(const Files& files) {
  const Database database = open_database(database_file(files.database));
  const Descriptor file(::open(files.payload.c_str(), O_RDONLY | O_CLOEXEC));
  std::vector<char> piece(kPiece);
  execute(database.get(), "BEGIN IMMEDIATE");
  execute(database.get(),
          "UPDATE DW_ROW_VERSION SET Counter = Counter + 1;"
          "UPDATE DW_Reports SET Report_Binary = zeroblob(" +
              std::to_string(kSize) + "), RowVersion = (SELECT Version FROM DW_ROW_VERSION)");
  {
    const FloorBlob blob(database.get(), true);
    for (std::size_t at = 0; at < kSize; at += kPiece) {
      require(::read(file.get(), piece.data(), kPiece) == static_cast<ssize_t>(kPiece), "reading");
      require(sqlite3_blob_write(blob.get(), piece.data(), static_cast<int>(kPiece),
                                 static_cast<int>(at)) == SQLITE_OK,
              "writing a part of a value");
    }
  }
  execute(database.get(), "COMMIT");
}

void extract_by_hand(const Files& files) {
  const Database database = open_database(database_file(files.database));
  const Descriptor file(
      ::open(files.extracted.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  std::vector<char> piece(kPiece);
  const FloorBlob blob(database.get(), false);
  for (std::size_t at = 0; at < kSize; at += kPiece) {
    require(sqlite3_blob_read(blob.get(), piece.data(), static_cast<int>(kPiece),
                              static_cast<int>(at)) == SQLITE_OK,
            "reading a part of a value");
    require(::write(file.get(), piece.data(), kPiece) == static_cast<ssize_t>(kPiece), "writing");
  }
}

// Every storing begins with a row that has no file.
void drop_payload(const Files& files) {
  const Database database = open_database(database_file(files.database));
  execute(database.get(), "UPDATE DW_Reports SET Report_Binary = NULL");
}

// Proving the role's password is made to take time, whatever is done then.
void connect_only(const Files& files) { const BenchHost host(files.database); }

void store_by_report(const Files& files) {
  BenchHost host(files.database);
  Report report(host.state());
  report.set_name(Text(kReport));
  require(report.update(from_utf8(files.payload.string())) == OK_ue, "Report::update");
}

void extract_by_report(const Files& files) {
  BenchHost host(files.database);
  Report report(host.state());
  report.set_name(Text(kReport));
  require(report.extract_report(from_utf8(files.extracted.string())), "Report::extract_report");
}

// Processor time: how long the disk takes depends on what was written before, by whomever.
struct Cost {
  double seconds = std::numeric_limits<double>::infinity();
  double bytes = 0;
};

// Waits for the process and adds what it took to `cost`, of which the best time counts and the
// largest memory.
void wait_for(pid_t child, Cost& cost) {
  int status = 0;
  rusage usage{};
  if (wait4(child, &status, 0, &usage) != child || status != 0) {
    throw std::runtime_error("a report file was not stored or extracted");
  }
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  cost.seconds = std::min(cost.seconds, seconds(usage.ru_utime) + seconds(usage.ru_stime));
  cost.bytes = std::max(cost.bytes, static_cast<double>(usage.ru_maxrss) * 1024);
}

void run(void (*body)(const Files&), const Files& files, Cost& cost) {
  std::filesystem::remove(files.extracted);
  const pid_t child = fork();
  if (child == 0) {
    try {
      body(files);
      std::_Exit(EXIT_SUCCESS);
    } catch (const std::exception& exception) {
      fmt::print(stderr, "{}\n", exception.what());
      std::_Exit(EXIT_FAILURE);
    }
  }
  wait_for(child, cost);
}

void run_command(const std::vector<std::string>& command, const Files& files, Cost& cost) {
  std::filesystem::remove(files.extracted);
  const std::string connect = "Provider=Tarnwick.Embedded;Data Source=" + files.database.string();
  const std::string password = (files.database.parent_path() / "password").string();
  std::vector<std::string> words{TARNWICK,       "--in-process",    "--connect", connect, "--role",
                                 to_utf8(kRole), "--password-file", password,    "report"};
  words.insert(words.end(), command.begin(), command.end());
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed = posix_spawn(&child, TARNWICK, &quiet, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&quiet);
  if (failed != 0) throw std::runtime_error("the command line cannot be started");
  wait_for(child, cost);
}

// The files go when the measurement ends, whichever way.
struct Cleared {
  std::filesystem::path folder;
  ~Cleared() {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }
};

}  // namespace

std::vector<Row> measure_payloads(const std::filesystem::path& scratch) {
  const Cleared cleared{scratch / "payloads"};
  std::filesystem::create_directory(cleared.folder);
  const Files files{cleared.folder / "database", cleared.folder / "in.rpt",
                    cleared.folder / "out.rpt"};
  make_dataset(files.database, {.reports = 1, .definition = 2048});
  make_payload(files.payload);
  std::ofstream(cleared.folder / "password") << to_utf8(kPassword);

  fmt::print(stderr, "measuring: report files of {} MB\n", kSize >> 20);
  const std::string name = to_utf8(kReport);
  Cost connect;
  Cost connect_command;
  Cost store;
  Cost replace;
  Cost store_floor;
  Cost store_command;
  Cost extract;
  Cost extract_floor;
  Cost extract_command;
  // In turns: whatever else the machine does then meets all alike.
  for (int round = 0; round < kRuns; ++round) {
    run(&connect_only, files, connect);
    run_command({"list"}, files, connect_command);
    drop_payload(files);
    run(&store_by_hand, files, store_floor);
    drop_payload(files);
    run(&store_by_report, files, store);
    run(&store_by_report, files, replace);
    drop_payload(files);
    run_command({"store", name, files.payload.string()}, files, store_command);
    // Out of one and the same row: where its pages lie makes a difference.
    run(&extract_by_hand, files, extract_floor);
    run(&extract_by_report, files, extract);
    require(same_content(files.payload, files.extracted), "storing and extracting");
    run_command({"extract", name, files.extracted.string()}, files, extract_command);
    require(same_content(files.payload, files.extracted), "storing and extracting");
  }
  // Beside the file's bytes a process has its own, of which a twentieth of them is plenty.
  constexpr double kMemoryBar = 1.05;
  const auto times_size = [](const Cost& cost) { return cost.bytes / double{kSize}; };
  const auto ratio = [](const Cost& cost, const Cost& start, const Cost& floor) {
    return (cost.seconds - start.seconds) / floor.seconds;
  };
  return {
      {"store a report file of 500 MB: time", ratio(store, connect, store_floor), 1.5},
      {"  times its size in memory", times_size(store), kMemoryBar},
      // The row that is maintained holds the old file meanwhile.
      {"  in the place of one as large: times its size in memory", times_size(replace),
       1 + kMemoryBar},
      {"  tarnwick report store: time", ratio(store_command, connect_command, store_floor), 1.5},
      {"  times its size in memory", times_size(store_command), kMemoryBar},
      {"extract a report file of 500 MB: time", ratio(extract, connect, extract_floor), 1.5},
      {"  times its size in memory", times_size(extract), kMemoryBar},
      {"  tarnwick report extract: time", ratio(extract_command, connect_command, extract_floor),
       1.5},
      {"  times its size in memory", times_size(extract_command), kMemoryBar}};
}

}  // namespace tarnwick::benchmarks
