#include "benchmarks/harness.h"

#include <fmt/core.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace tarnwick::benchmarks {
namespace {

// Peak resident memory of this process, in bytes.
double peak_memory() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != "VmHWM:") continue;
    double kibibytes = 0;
    status >> kibibytes;
    return kibibytes * 1024;
  }
  throw std::runtime_error("this system does not tell a process's peak memory");
}

// Keeps the times of the one benchmark that ran.
class Collector final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) throw std::runtime_error(run.error_message);
      seconds_ = run.real_accumulated_time / static_cast<double>(run.iterations);
      cpu_ = run.cpu_accumulated_time / static_cast<double>(run.iterations);
    }
  }
  [[nodiscard]] double seconds() const { return seconds_; }
  [[nodiscard]] double cpu() const { return cpu_; }

 private:
  double seconds_ = 0;
  double cpu_ = 0;
};

Measurement measure_here(const Side& side, int iterations) {
  const double before = peak_memory();
  benchmark::RegisterBenchmark("side", side)
      ->Iterations(iterations)
      ->UseRealTime()
      ->MeasureProcessCPUTime();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  return {collector.seconds(), collector.cpu(), peak_memory() - before};
}

[[noreturn]] void run_child(int output, const Side& side, int iterations) {
  try {
    const Measurement measured = measure_here(side, iterations);
    const bool told = write(output, &measured, sizeof measured) == sizeof measured;
    std::_Exit(told ? EXIT_SUCCESS : EXIT_FAILURE);
  } catch (const std::exception& exception) {
    fmt::print(stderr, "benchmark failed: {}\n", exception.what());
    std::_Exit(EXIT_FAILURE);
  }
}

Measurement measure_once(const Side& side, int iterations) {
  int ends[2] = {};
  if (pipe(ends) != 0) throw std::runtime_error("pipe failed");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    close(ends[0]);
    run_child(ends[1], side, iterations);
  }
  close(ends[1]);
  Measurement measured;
  const bool told = read(ends[0], &measured, sizeof measured) == sizeof measured;
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (!told || status != 0) throw std::runtime_error("a benchmark did not finish");
  return measured;
}

Measurement better(const Measurement& a, const Measurement& b) {
  return {std::min(a.seconds, b.seconds), std::min(a.cpu, b.cpu), std::min(a.bytes, b.bytes)};
}

}  // namespace

Measurement measure(const Side& side, int iterations, int runs) {
  Measurement best = measure_once(side, iterations);
  for (int run = 1; run < runs; ++run) best = better(best, measure_once(side, iterations));
  return best;
}

std::vector<Row> compare(const std::vector<Comparison>& comparisons) {
  std::vector<Row> rows;
  for (const Comparison& comparison : comparisons) {
    fmt::print(stderr, "measuring: {}\n", comparison.name);
    Runs runs{.job = comparison.name,
              .time_bar = comparison.time_bar,
              .memory_bar = comparison.memory_bar};
    // In turns: whatever else the machine does then meets both sides alike.
    for (int run = 0; run < comparison.runs; ++run) {
      runs.ours.push_back(measure_once(comparison.ours, comparison.iterations));
      runs.floor.push_back(measure_once(comparison.floor, comparison.iterations));
    }
    rows.push_back(row_of(runs));
  }
  return rows;
}

}  // namespace tarnwick::benchmarks
