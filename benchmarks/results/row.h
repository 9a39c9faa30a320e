#pragma once

#include <string>
#include <vector>

namespace tarnwick::benchmarks {

/// What one job came to, in multiples of what its floor took. 0: not measured, or nothing promised.
struct Row {
  std::string job = {};
  double time = 0;
  double time_bar = 0;
  double cpu = 0;
  double memory = 0;
  double memory_bar = 0;
  /// How far the floor's own runs lie apart; see `spread`.
  double spread = 0;
};

/// One run of one side.
struct Measurement {
  double seconds = 0;  // per iteration
  double cpu = 0;      // seconds of all threads, per iteration
  double bytes = 0;    // peak memory over what was there at the start
};

/// All runs of both sides of one job, and what was promised.
struct Runs {
  std::string job = {};
  std::vector<Measurement> ours = {};
  std::vector<Measurement> floor = {};
  double time_bar = 0;
  double memory_bar = 0;
};

/// The medians of the runs against each other.
[[nodiscard]] Row row_of(const Runs& runs);

enum class Verdict {
  kUnjudged,  // nothing is promised
  kKept,
  kOver,
  kTooNoisy,
};

/// Where runs of the same floor lie further apart than this, a time is judged only if it is further
/// from its bar than they are from each other.
inline constexpr double kNoisy = 0.10;

/// Memory is judged however noisy the machine was, as it does not depend on that.
[[nodiscard]] Verdict verdict_of(const Row& row);

/// Of all rows together: kOver if any is, else kTooNoisy if any is, else kKept.
[[nodiscard]] Verdict verdict_of(const std::vector<Row>& rows);

}  // namespace tarnwick::benchmarks
