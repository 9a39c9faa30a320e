#include "engines/sqlite/call_time.h"

#include <algorithm>
#include <thread>

namespace tarnwick::sqlite {
namespace {

// Short at first, as another's write transaction is over in less than a millisecond; then long
// enough that a person's maintenance of a row costs the waiting processes next to nothing, and
// short enough that those who came later do not get everything meanwhile.
constexpr std::chrono::microseconds kFirst{100};
constexpr std::chrono::microseconds kLongest{5'000};

}  // namespace

void CallTime::start(std::int32_t lock_timeout, Limit limit) {
  const auto now = Clock::now();
  waits_for_ever_ = lock_timeout < 0;
  if (!waits_for_ever_) end_of_waiting_ = now + std::chrono::milliseconds(lock_timeout);
  next_ = kFirst;
  limit_ = limit;
  begin_of_working_ = now;
}

bool CallTime::pause() {
  const auto begin = Clock::now();
  auto length = next_;
  if (!waits_for_ever_) {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(end_of_waiting_ - begin);
    if (left.count() <= 0) return false;
    length = std::min(length, left);
  }
  std::this_thread::sleep_for(length);
  next_ = std::min(next_ * 2, kLongest);
  begin_of_working_ += Clock::now() - begin;
  return true;
}

bool CallTime::is_over() const {
  return limit_ != kUnlimited && Clock::now() - begin_of_working_ >= limit_;
}

}  // namespace tarnwick::sqlite
