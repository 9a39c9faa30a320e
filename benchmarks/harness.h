#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace tarnwick::benchmarks {

/// What one side of a comparison does; measured by its state's loop.
using Side = std::function<void(benchmark::State&)>;

/// Something that is done twice: by the system, and by hand on the engine's own interface.
struct Comparison {
  std::string name;
  Side ours;
  Side floor;
  /// Iterations of the measured loop in one run.
  int iterations = 1;
  /// Runs of each side; the best one counts.
  int runs = 3;
  /// What the ratios must not exceed; 0 where nothing is promised.
  double time_bar = 0;
  double memory_bar = 0;
};

/// One side's best run.
struct Measurement {
  double seconds = 0;  // per iteration
  double bytes = 0;    // peak memory over what was there at the start
};

/// Runs `side` in a child process of its own, so that neither memory nor caches are shared.
[[nodiscard]] Measurement measure(const Side& side, int iterations, int runs);

/// One line of the printed table.
struct Row {
  std::string job;
  double ratio = 0;
  double bar = 0;  // 0: none
};

/// Measures both sides of each comparison, in turns, and returns their ratios.
[[nodiscard]] std::vector<Row> compare(const std::vector<Comparison>& comparisons);

/// Prints the rows as a table. Returns whether every ratio keeps its bar.
bool print(const std::vector<Row>& rows);

}  // namespace tarnwick::benchmarks
