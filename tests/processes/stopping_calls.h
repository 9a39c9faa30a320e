#pragma once

#include <functional>

namespace tarnwick::test_support {

/// Calls `stop` once, at the `count`-th call from now (counted from 1) by which SQLite changes a
/// file or asks the system for a lock: before it, or, where `half` is set and the call writes, when
/// half of its bytes are written. Replaces the previous order. Throws std::runtime_error where the
/// system's calls cannot be replaced.
void stop_at_system_call(int count, bool half, std::function<void()> stop);

}  // namespace tarnwick::test_support
