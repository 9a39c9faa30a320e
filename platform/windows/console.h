#pragma once

#include <chrono>
#include <string>

#include "platform/terminal.h"
#include "platform/windows/api.h"

namespace tarnwick::platform {

/// Of a standard stream; may be one that is closed.
[[nodiscard]] HANDLE handle_of(Standard stream);

/// Has std::cin, std::cout and std::cerr, where they lead to a console, read and write its UTF-16,
/// whatever its code page is; elsewhere bytes go in and out as they are.
void use_console_streams();

}  // namespace tarnwick::platform
