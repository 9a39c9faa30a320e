#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/process_pool.h"
#include "benchmarks/results/statistics.h"
#include "benchmarks/sqlite_floor.h"
#include "pcs/registered_pc.h"

// Many processes on one embedded database, against the same processes with SQLite's own locking.

namespace tarnwick::benchmarks {
namespace {

constexpr int kPcs = 2'000;
constexpr int kRuns = 3;
constexpr double kSeconds = 0.3;
constexpr std::array kProcesses{2, 4, 8, 16, 32, 64};
constexpr int kMostProcesses = kProcesses.back();

// Ahead wherever writers meet; a single one may cost what the update cycle may.
constexpr double kBar = 1.0;
constexpr double kBarOfOne = 1.1;
// Nobody starves. Where readers never rest, the system's scheduler decides who may write.
constexpr double kFair = 20;

struct Key {
  std::string mac_number;
  std::string computer_id;
  int component = 0;
};

std::vector<Key> read_keys(const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  const Statement rows = prepare(
      database.get(), "SELECT MACNbr, ComputerID, CompID FROM DW_SEC_PC ORDER BY ComputerID");
  const auto text = [&](int column) {
    return reinterpret_cast<const char*>(sqlite3_column_text(rows.get(), column));
  };
  std::vector<Key> keys;
  while (step(rows.get())) {
    keys.push_back({text(0), text(1), sqlite3_column_int(rows.get(), 2)});
  }
  return keys;
}

class ByServer final : public Worker {
 public:
  ByServer(const std::filesystem::path& folder, const std::vector<Key>& keys)
      : host_(folder), keys_(keys) {}

  void maintain(int row) override {
    const auto pc = pc_of(row);
    // Whoever has to wait too long tries again, as a person would.
    while (!pc->lock_record()) {
    }
    pc->set_total_logins(pc->total_logins() + 1);
    if (pc->update() != OK_ue) fail();
  }

  void read(int row) override {
    if (pc_of(row)->look().outcome != LookOutcome::kLoaded) fail();
  }

 private:
  [[nodiscard]] std::unique_ptr<RegisteredPC> pc_of(int row) {
    const Key& key = keys_.at(static_cast<std::size_t>(row));
    auto pc = std::make_unique<RegisteredPC>(host_.state());
    pc->set_mac_number(from_utf8(key.mac_number));
    pc->set_computer_id(from_utf8(key.computer_id));
    pc->set_comp_id(static_cast<std::int16_t>(key.component));
    return pc;
  }
  [[noreturn]] void fail() {
    throw std::runtime_error(to_display_utf8(host_.server().last_error_msg()));
  }

  BenchHost host_;
  const std::vector<Key>& keys_;
};

class ByHand final : public Worker {
 public:
  ByHand(const std::filesystem::path& folder, const std::vector<Key>& keys)
      : keys_(keys), database_(open_database(database_file(folder))) {
    // Longer than anything takes here.
    sqlite3_busy_timeout(database_.get(), 60'000);
    begin_ = prepare(database_.get(), "BEGIN IMMEDIATE");
    commit_ = prepare(database_.get(), "COMMIT");
    select_ = prepare(database_.get(),
                      "SELECT * FROM DW_SEC_PC WHERE MACNbr = ? AND ComputerID = ? AND CompID = ?");
    update_ = prepare(
        database_.get(),
        "UPDATE DW_SEC_PC SET MaintType = ?, ActiveStatus = ?, ImageIndex = ?, LastUser = ?, "
        "LastLogin = ?, TotalLogins = ?, SoftLock = '' WHERE MACNbr = ? AND ComputerID = ? AND "
        "CompID = ?");
  }

  void maintain(int row) override {
    run(begin_);
    bind_key(select_, 1, row);
    if (!step(select_.get())) throw std::runtime_error("the row is missing");
    const Text version = hex_column(select_.get(), 14);
    for (int column = 3; column < 8; ++column) {
      sqlite3_bind_value(update_.get(), column - 2, sqlite3_column_value(select_.get(), column));
    }
    sqlite3_bind_int(update_.get(), 6, sqlite3_column_int(select_.get(), 8) + 1);
    sqlite3_reset(select_.get());
    bind_key(update_, 7, row);
    run(update_);
    run(commit_);
  }

  void read(int row) override {
    bind_key(select_, 1, row);
    if (!step(select_.get())) throw std::runtime_error("the row is missing");
    for (int column = 0; column < sqlite3_column_count(select_.get()); ++column) {
      benchmark::DoNotOptimize(sqlite3_column_bytes(select_.get(), column));
    }
    sqlite3_reset(select_.get());
  }

 private:
  void bind_key(const Statement& statement, int first, int row) {
    const Key& key = keys_.at(static_cast<std::size_t>(row));
    sqlite3_bind_text(statement.get(), first, key.mac_number.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_text(statement.get(), first + 1, key.computer_id.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_int(statement.get(), first + 2, key.component);
  }
  static void run(const Statement& statement) {
    step(statement.get());
    sqlite3_reset(statement.get());
  }

  const std::vector<Key>& keys_;
  Database database_;
  Statement begin_;
  Statement commit_;
  Statement select_;
  Statement update_;
};

std::int64_t logins_in(const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  const Statement sum = prepare(database.get(), "SELECT sum(TotalLogins) FROM DW_SEC_PC");
  step(sum.get());
  return sqlite3_column_int64(sum.get(), 0);
}

/// The processes of one side, with a database of their own.
class Contender {
 public:
  template <class Kind>
  static Contender make(const std::filesystem::path& folder) {
    make_dataset(folder, {.pcs = kPcs});
    Contender side(folder);
    const std::vector<Key>& keys = *side.keys_;
    side.pool_ = std::make_unique<ProcessPool>(
        kMostProcesses, [&] { return std::make_unique<Kind>(folder, keys); });
    return side;
  }

  [[nodiscard]] Outcome run(const Task& task) {
    Outcome outcome = pool_->run(task);
    expected_ += static_cast<std::int64_t>(
        std::accumulate(outcome.updates.begin(), outcome.updates.end(), std::size_t{0}));
    if (logins_in(folder_) != expected_) throw std::runtime_error("an update was lost");
    return outcome;
  }

 private:
  explicit Contender(const std::filesystem::path& folder)
      : folder_(folder),
        keys_(std::make_unique<const std::vector<Key>>(read_keys(folder))),
        expected_(logins_in(folder)) {}

  std::filesystem::path folder_;
  std::unique_ptr<const std::vector<Key>> keys_;
  std::int64_t expected_;
  std::unique_ptr<ProcessPool> pool_;
};

/// The runs of one side at one task.
struct Sum {
  std::vector<Measurement> runs;
  std::vector<double> waits;
  std::vector<std::size_t> updates;  // of each writer
  double seconds = 0;
  std::size_t reads = 0;

  void add(const Outcome& outcome) {
    updates.resize(outcome.updates.size());
    std::size_t all = 0;
    for (std::size_t i = 0; i < updates.size(); ++i) {
      updates[i] += outcome.updates[i];
      all += outcome.updates[i];
    }
    const auto in_time = static_cast<double>(std::max(all - outcome.late, std::size_t{1}));
    runs.push_back({.seconds = outcome.seconds / in_time,
                    .cpu = outcome.cpu / static_cast<double>(std::max(all, std::size_t{1}))});
    waits.insert(waits.end(), outcome.waits.begin(), outcome.waits.end());
    seconds += outcome.seconds;
    reads += outcome.reads;
  }
  [[nodiscard]] double most_over_least() const {
    const auto [least, most] = std::minmax_element(updates.begin(), updates.end());
    if (*least == 0) return std::numeric_limits<double>::infinity();
    return static_cast<double>(*most) / static_cast<double>(*least);
  }
};

void print(const std::string& side, const Sum& sum) {
  const auto all = std::accumulate(sum.updates.begin(), sum.updates.end(), std::size_t{0});
  fmt::print(
      "  {:<5} {:>7.0f} updates/s, wait {:>7.2f} ms at the median, {:>8.2f} ms at the 99th "
      "percentile, most over least updates of a process {:>6.2f}, {:>7.0f} reads/s\n",
      side, static_cast<double>(all) / sum.seconds, median(sum.waits) * 1e3,
      quantile(sum.waits, 0.99) * 1e3, sum.most_over_least(),
      static_cast<double>(sum.reads) / sum.seconds);
}

struct Kind {
  const char* name;
  bool same_row;
  bool half_read;
};

constexpr std::array kKinds{Kind{"different rows", false, false}, Kind{"the same row", true, false},
                            Kind{"half of them read", false, true}};

}  // namespace

std::vector<Row> measure_processes(const std::filesystem::path& scratch) {
  fmt::print(stderr, "measuring: many processes\n");
  Contender ours = Contender::make<ByServer>(scratch / "processes");
  Contender floor = Contender::make<ByHand>(scratch / "processes-floor");
  std::vector<Row> rows;
  for (const Kind& kind : kKinds) {
    Sum of_ours;
    for (const int processes : kProcesses) {
      const Task task{.processes = processes,
                      .writers = kind.half_read ? processes / 2 : processes,
                      .same_row = kind.same_row,
                      .rows = kPcs,
                      .seconds = kSeconds};
      of_ours = {};
      Sum of_floor;
      for (int run = 0; run < kRuns; ++run) {
        of_ours.add(ours.run(task));
        of_floor.add(floor.run(task));
      }
      rows.push_back(row_of({.job = fmt::format("{} processes, {}", processes, kind.name),
                             .ours = of_ours.runs,
                             .floor = of_floor.runs,
                             .time_bar = task.writers == 1 ? kBarOfOne : kBar}));
      fmt::print("{}\n", rows.back().job);
      print("ours", of_ours);
      print("floor", of_floor);
    }
    // Nobody starves: an absolute bar, whatever the floor does.
    rows.push_back({.job = fmt::format("  most over least updates of one, {}", kind.name),
                    .time = of_ours.most_over_least(),
                    .time_bar = kind.half_read ? 0 : kFair});
  }
  return rows;
}

}  // namespace tarnwick::benchmarks
