#pragma once

#include <functional>

namespace tarnwick::cli {

/// See platform::set_up_process. When the process is made to end, the pager ends, the terminal is
/// given back, and the scratch folders and what is held go first.
void set_up_process();

/// Runs `step`, which cleans up behind itself: whatever makes the process end waits for its end.
void finish_first(const std::function<void()>& step);

}  // namespace tarnwick::cli
