#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace tarnwick::benchmarks {

/// What a process of the pool does over and over; connected once, when its process begins.
class Worker {
 public:
  virtual ~Worker() = default;
  /// One cycle of the maintenance of row `row`.
  virtual void maintain(int row) = 0;
  /// One look at row `row`.
  virtual void read(int row) = 0;
};

/// What all processes do in one run; process `i` of `processes`, which is never 0.
struct Task {
  int processes = 0;
  /// So many of them, the first ones, maintain rows; the others read.
  int writers = 0;
  /// All writers maintain the same row, otherwise each one rows of its own.
  bool same_row = false;
  int rows = 0;
  double seconds = 0;
};

/// What one run came to.
struct Outcome {
  /// Of each writer: how many updates it made.
  std::vector<std::size_t> updates;
  /// How many of them all came when the time was over.
  std::size_t late = 0;
  /// Of every update: how long it took, waiting included; seconds.
  std::vector<double> waits;
  std::size_t reads = 0;
  double seconds = 0;  // until it was stopped
  double cpu = 0;      // seconds that all processes worked
};

/// Processes that stay, connected, from one run to the next.
class ProcessPool final {
 public:
  using MakeWorker = std::function<std::unique_ptr<Worker>()>;
  /// Starts `processes` of them, each with a worker of its own. Throws std::runtime_error when one
  /// cannot be made.
  ProcessPool(int processes, const MakeWorker& make_worker);
  ~ProcessPool();
  ProcessPool(const ProcessPool&) = delete;
  ProcessPool& operator=(const ProcessPool&) = delete;

  /// Throws std::runtime_error when a worker fails.
  [[nodiscard]] Outcome run(const Task& task);

 private:
  struct Shared;
  struct Process {
    pid_t id = -1;
    int orders = -1;   // to it
    int answers = -1;  // from it
  };
  [[noreturn]] void serve(int number, int orders, int answers, const MakeWorker& make_worker);
  void work(int number, Worker& worker, const Task& task);
  void await(const Process& process);
  void end();

  std::vector<Process> processes_;
  Shared* shared_;
};

}  // namespace tarnwick::benchmarks
