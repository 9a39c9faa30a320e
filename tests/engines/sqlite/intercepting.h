#pragma once

#include <functional>
#include <utility>

#include "tests/support/intercepted_calls.h"

namespace tarnwick::sqlite {

/// As long as it lives, `answer` is asked before each call of the system. One at a time.
class Intercepting final {
 public:
  using Answer = std::function<int(const test_support::InterceptedCall& call)>;

  explicit Intercepting(Answer answer) {
    answer_ = std::move(answer);
    test_support::intercept_calls(
        [](const test_support::InterceptedCall& call) { return answer_(call); });
  }
  ~Intercepting() { test_support::intercept_calls(nullptr); }
  Intercepting(const Intercepting&) = delete;
  Intercepting& operator=(const Intercepting&) = delete;

 private:
  static inline Answer answer_;
};

}  // namespace tarnwick::sqlite
