#include "tests/support/failing_allocation.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

// Counts down to the allocation that fails; 0: none will.
std::size_t countdown = 0;
std::size_t live = 0;

void* allocate(std::size_t size) {
  if (countdown != 0 && --countdown == 0) throw std::bad_alloc();
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++live;
  return memory;
}

void release(void* memory) {
  if (memory != nullptr) --live;
  std::free(memory);
}

}  // namespace

void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { release(memory); }
void operator delete[](void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }
void operator delete[](void* memory, std::size_t) noexcept { release(memory); }

namespace tarnwick::test_support {

FailingAllocation::FailingAllocation(std::size_t nth) { countdown = nth; }

FailingAllocation::~FailingAllocation() { countdown = 0; }

UnfailingAllocations::UnfailingAllocations() : left_(std::exchange(countdown, 0)) {}

UnfailingAllocations::~UnfailingAllocations() { countdown = left_; }

std::size_t live_allocations() { return live; }

bool FailingAllocation::failed() const { return countdown == 0; }

}  // namespace tarnwick::test_support
