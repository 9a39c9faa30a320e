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

// Keeps the time of the one benchmark that ran.
class Collector final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) throw std::runtime_error(run.error_message);
      seconds_ = run.real_accumulated_time / static_cast<double>(run.iterations);
    }
  }
  [[nodiscard]] double seconds() const { return seconds_; }

 private:
  double seconds_ = 0;
};

Measurement measure_here(const Side& side, int iterations) {
  const double before = peak_memory();
  benchmark::RegisterBenchmark("side", side)->Iterations(iterations)->UseRealTime();
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);
  return {collector.seconds(), peak_memory() - before};
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
  return {std::min(a.seconds, b.seconds), std::min(a.bytes, b.bytes)};
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
    Measurement ours = measure(comparison.ours, comparison.iterations, 1);
    Measurement floor = measure(comparison.floor, comparison.iterations, 1);
    // In turns: whatever else the machine does then meets both sides alike.
    for (int run = 1; run < comparison.runs; ++run) {
      ours = better(ours, measure(comparison.ours, comparison.iterations, 1));
      floor = better(floor, measure(comparison.floor, comparison.iterations, 1));
    }
    rows.push_back({comparison.name + ": time", ours.seconds / floor.seconds, comparison.time_bar});
    if (comparison.memory_bar > 0) {
      rows.push_back(
          {comparison.name + ": memory", ours.bytes / floor.bytes, comparison.memory_bar});
    }
  }
  return rows;
}

bool print(const std::vector<Row>& rows) {
  std::size_t width = 0;
  for (const Row& row : rows) width = std::max(width, row.job.size());
  fmt::print("\n{:<{}}  {:>7}  {:>7}\n", "job", width, "ratio", "bar");
  bool kept = true;
  for (const Row& row : rows) {
    const bool over = row.bar > 0 && row.ratio > row.bar;
    kept = kept && !over;
    fmt::print("{:<{}}  {:>7.2f}  {:>7}{}\n", row.job, width, row.ratio,
               row.bar > 0 ? fmt::format("{:.2f}", row.bar) : "-", over ? "  over" : "");
  }
  return kept;
}

}  // namespace tarnwick::benchmarks
