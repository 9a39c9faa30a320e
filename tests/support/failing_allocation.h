#pragma once

#include <cstddef>

namespace tarnwick::test_support {

/// Lets one allocation of this program fail: the `nth` from now (from 1), unless this ends before.
/// Only for programs that have failing_allocation.cpp among their sources; one at a time, and only
/// for one thread.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t nth);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether it has failed already.
  [[nodiscard]] bool failed() const;
};

/// While it lives no allocation fails, and none counts: for what a test does on its own behalf.
class UnfailingAllocations {
 public:
  UnfailingAllocations();
  UnfailingAllocations(const UnfailingAllocations&) = delete;
  UnfailingAllocations& operator=(const UnfailingAllocations&) = delete;
  ~UnfailingAllocations();

 private:
  std::size_t left_;
};

/// How many allocations of this program have not been given back.
[[nodiscard]] std::size_t live_allocations();

}  // namespace tarnwick::test_support
