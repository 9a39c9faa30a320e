#pragma once

#include <chrono>
#include <cstdint>

namespace tarnwick::sqlite {

/// The time that one call of a client may take. Two limits stand side by side: what it waits for
/// other sessions counts against the lock time-out, what it works against the statement's limit; no
/// moment counts against both.
class CallTime final {
 public:
  static constexpr std::int32_t kForEver = -1;
  using Limit = std::chrono::milliseconds;
  static constexpr Limit kUnlimited = Limit::max();

  /// A call begins. It may wait `lock_timeout` milliseconds, all its waits together: 0 not at all,
  /// kForEver without end.
  void start(std::int32_t lock_timeout, Limit limit);

  /// Sleeps a little, longer from time to time. False, at once, when the time for waiting is over.
  [[nodiscard]] bool pause();

  /// Whether the time for working is over.
  [[nodiscard]] bool is_over() const;

 private:
  using Clock = std::chrono::steady_clock;
  bool waits_for_ever_ = true;
  Clock::time_point end_of_waiting_;
  std::chrono::microseconds next_{};
  Limit limit_ = kUnlimited;
  Clock::time_point begin_of_working_;  // moved on by every wait
};

}  // namespace tarnwick::sqlite
