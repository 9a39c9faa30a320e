#include "engines/sqlite/lock_wait.h"

#include <algorithm>
#include <thread>

namespace tarnwick::sqlite {
namespace {

// Short at first, as another's write transaction is over in less than a millisecond; then long
// enough that a person's maintenance of a row costs the waiting processes next to nothing.
constexpr std::chrono::microseconds kFirst{100};
constexpr std::chrono::microseconds kLongest{20'000};

}  // namespace

void LockWait::start(std::int32_t milliseconds) {
  for_ever_ = milliseconds < 0;
  if (!for_ever_) end_ = Clock::now() + std::chrono::milliseconds(milliseconds);
  next_ = kFirst;
}

bool LockWait::pause() {
  auto length = next_;
  if (!for_ever_) {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end_ - Clock::now());
    if (left.count() <= 0) return false;
    length = std::min(length, left);
  }
  std::this_thread::sleep_for(length);
  next_ = std::min(next_ * 2, kLongest);
  return true;
}

}  // namespace tarnwick::sqlite
