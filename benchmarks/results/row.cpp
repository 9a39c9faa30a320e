#include "benchmarks/results/row.h"

#include <algorithm>

#include "benchmarks/results/statistics.h"

namespace tarnwick::benchmarks {
namespace {

std::vector<double> values_of(const std::vector<Measurement>& runs, double Measurement::*part) {
  std::vector<double> values;
  for (const Measurement& run : runs) values.push_back(run.*part);
  return values;
}

double ratio(const Runs& runs, double Measurement::*part) {
  const double floor = median(values_of(runs.floor, part));
  return floor > 0 ? median(values_of(runs.ours, part)) / floor : 0;
}

bool is_over(double ratio, double bar) { return bar > 0 && ratio > bar; }

bool is_in_doubt(const Row& row) {
  const double doubt = 1 + row.spread;
  return row.spread > kNoisy && row.time <= row.time_bar * doubt && row.time * doubt > row.time_bar;
}

}  // namespace

Row row_of(const Runs& runs) {
  return {.job = runs.job,
          .time = ratio(runs, &Measurement::seconds),
          .time_bar = runs.time_bar,
          .cpu = ratio(runs, &Measurement::cpu),
          .memory = ratio(runs, &Measurement::bytes),
          .memory_bar = runs.memory_bar,
          .spread = spread(values_of(runs.floor, &Measurement::seconds))};
}

Verdict verdict_of(const Row& row) {
  if (is_over(row.memory, row.memory_bar)) return Verdict::kOver;
  if (is_in_doubt(row)) return Verdict::kTooNoisy;
  if (is_over(row.time, row.time_bar)) return Verdict::kOver;
  return row.time_bar > 0 || row.memory_bar > 0 ? Verdict::kKept : Verdict::kUnjudged;
}

Verdict verdict_of(const std::vector<Row>& rows) {
  const auto any = [&](Verdict verdict) {
    return std::any_of(rows.begin(), rows.end(),
                       [&](const Row& row) { return verdict_of(row) == verdict; });
  };
  if (any(Verdict::kOver)) return Verdict::kOver;
  return any(Verdict::kTooNoisy) ? Verdict::kTooNoisy : Verdict::kKept;
}

}  // namespace tarnwick::benchmarks
