#pragma once

#include "platform/host.h"

namespace tarnwick {

/// The computer's name, read into a buffer of 16 characters and cut at its first NUL. The empty
/// text when the system has none, and when it fills the buffer without a NUL.
[[nodiscard]] Text local_computer_name(platform::Host& host);

}  // namespace tarnwick
