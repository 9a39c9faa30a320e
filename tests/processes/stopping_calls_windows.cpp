#include "tests/processes/stopping_calls.h"

#include <stdexcept>

namespace tarnwick::test_support {

void stop_at_system_call(int, bool, std::function<void()>) {
  throw std::runtime_error("SQLite's calls of Windows are not replaced");
}

}  // namespace tarnwick::test_support
