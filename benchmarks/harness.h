#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

#include "benchmarks/results/row.h"

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
  /// Runs of each side; their medians count.
  int runs = 5;
  /// What the ratios must not exceed; 0 where nothing is promised.
  double time_bar = 0;
  double memory_bar = 0;
};

/// The best of some runs of `side`, each in a child process of its own, so that neither memory nor
/// caches are shared.
[[nodiscard]] Measurement measure(const Side& side, int iterations, int runs);

/// Measures both sides of each comparison, in turns.
[[nodiscard]] std::vector<Row> compare(const std::vector<Comparison>& comparisons);

}  // namespace tarnwick::benchmarks
