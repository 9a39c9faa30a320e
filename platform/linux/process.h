#pragma once

#include "platform/process.h"

namespace tarnwick::platform {

/// To be called in a child process, before it becomes another program: takes back what
/// set_up_process did to signals. Makes system calls only.
void restore_signals() noexcept;

}  // namespace tarnwick::platform
