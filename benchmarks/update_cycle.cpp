#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"

namespace tarnwick::benchmarks {
namespace {

constexpr int kPcs = 10'000;
constexpr int kCycles = 300;

// A row lock as anybody would write it: a byte range of a file beside the database.
class FileLock {
 public:
  explicit FileLock(const std::filesystem::path& file)
      : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (descriptor_ < 0) throw std::runtime_error("the lock file cannot be opened");
  }
  ~FileLock() { close(descriptor_); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  void lock(off_t row) { set(row, F_WRLCK); }
  void unlock(off_t row) { set(row, F_UNLCK); }

 private:
  void set(off_t row, short type) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = row;
    range.l_len = 1;
    if (fcntl(descriptor_, F_OFD_SETLK, &range) != 0) throw std::runtime_error("locked");
  }

  int descriptor_;
};

/// What a program knows of a record that it loaded earlier.
struct LoadedPc {
  std::string mac_number;
  std::string computer_id;
  int component = 0;
  std::string version;
};

std::string_view bytes_column(sqlite3_stmt* statement, int column) {
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement, column));
  return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

std::vector<LoadedPc> load_pcs(sqlite3* database) {
  const Statement select =
      prepare(database, "SELECT MACNbr, ComputerID, CompID, RowVersion FROM DW_SEC_PC");
  const auto text = [&](int column) {
    return reinterpret_cast<const char*>(sqlite3_column_text(select.get(), column));
  };
  std::vector<LoadedPc> pcs;
  while (step(select.get())) {
    pcs.push_back({text(0), text(1), sqlite3_column_int(select.get(), 2),
                   std::string(bytes_column(select.get(), 3))});
  }
  return pcs;
}

void update_by_hand(benchmark::State& state, const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  FileLock locks(folder / "floor.lock");
  const std::vector<LoadedPc> pcs = load_pcs(database.get());
  const Statement select = prepare(
      database.get(), "SELECT * FROM DW_SEC_PC WHERE MACNbr = ? AND ComputerID = ? AND CompID = ?");
  const Statement update = prepare(
      database.get(),
      "UPDATE DW_SEC_PC SET MaintType = ?, ActiveStatus = ?, ImageIndex = ?, LastUser = ?, "
      "LastLogin = ?, TotalLogins = ?, ActivatedBy = ?, ActivateDate = ?, DeactivatedBy = ?, "
      "SoftwareVersion = ?, SoftLock = '' WHERE MACNbr = ? AND ComputerID = ? AND "
      "CompID = ?");
  const Statement begin = prepare(database.get(), "BEGIN IMMEDIATE");
  const Statement commit = prepare(database.get(), "COMMIT");
  const auto run = [](const Statement& statement) {
    step(statement.get());
    sqlite3_reset(statement.get());
  };
  const auto bind_key = [](const Statement& statement, int first, const LoadedPc& pc) {
    sqlite3_bind_text(statement.get(), first, pc.mac_number.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_text(statement.get(), first + 1, pc.computer_id.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_int(statement.get(), first + 2, pc.component);
  };
  off_t row = 0;
  for (auto _ : state) {
    const LoadedPc& pc = pcs.at(static_cast<std::size_t>(row));
    locks.lock(++row);
    bind_key(select, 1, pc);
    step(select.get());
    if (bytes_column(select.get(), 14) != pc.version) {
      state.SkipWithError("the row changed");
      return;
    }
    for (int parameter = 1; const int column : {3, 4, 5, 6, 7, 8, 9, 10, 11, 15}) {
      sqlite3_bind_value(update.get(), parameter++, sqlite3_column_value(select.get(), column));
    }
    sqlite3_bind_int(update.get(), 6, sqlite3_column_int(select.get(), 8) + 1);
    bind_key(update, 11, pc);
    sqlite3_reset(select.get());
    run(begin);
    run(update);
    run(commit);
    locks.unlock(row);
  }
}

void update_by_server(benchmark::State& state, const std::filesystem::path& folder) {
  BenchHost host(folder);
  const auto pcs = host.server().registered_pcs();
  if (!pcs->refresh()) throw std::runtime_error("the load failed");
  std::int64_t position = 0;
  for (auto _ : state) {
    const auto pc = pcs->item(static_cast<std::int32_t>(++position));
    pc->set_total_logins(pc->total_logins() + 1);
    if (pc->update() != OK_ue) {
      state.SkipWithError("an update failed");
      return;
    }
  }
}

std::vector<Row> measure_in(const std::filesystem::path& folder, const std::string& name) {
  make_dataset(folder, {.pcs = kPcs});
  return compare({{.name = name,
                   .ours = [=](benchmark::State& state) { update_by_server(state, folder); },
                   .floor = [=](benchmark::State& state) { update_by_hand(state, folder); },
                   .iterations = kCycles,
                   .runs = 5,
                   .time_bar = 1.1}});
}

}  // namespace

std::vector<Row> measure_update_cycle(const std::filesystem::path& scratch) {
  std::vector<Row> rows = measure_in(scratch / "update", "one lock, compare, write, commit");
  // Where nothing has to reach a disk, what remains is what the protocol itself costs.
  const std::filesystem::path memory("/dev/shm");
  if (!std::filesystem::exists(memory)) return rows;
  const auto folder = memory / scratch.filename();
  const auto in_memory = measure_in(folder, "  the same without a disk");
  std::filesystem::remove_all(folder);
  rows.insert(rows.end(), in_memory.begin(), in_memory.end());
  return rows;
}

}  // namespace tarnwick::benchmarks
