#pragma once

#include <chrono>
#include <cstdint>

namespace tarnwick::sqlite {

/// The time that one call may spend waiting for other sessions, all its waits together.
class LockWait final {
 public:
  static constexpr std::int32_t kForEver = -1;

  /// Begins anew. `milliseconds`: 0 not at all, kForEver without end.
  void start(std::int32_t milliseconds);

  /// Sleeps a little, longer from time to time. False, at once, when the time is over.
  [[nodiscard]] bool pause();

 private:
  using Clock = std::chrono::steady_clock;
  bool for_ever_ = true;
  Clock::time_point end_;
  std::chrono::microseconds next_{};
};

}  // namespace tarnwick::sqlite
