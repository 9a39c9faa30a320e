#pragma once

#include <string>

#include "platform/message_box.h"

namespace tarnwick::desktop {

/// Shows a Retry/Cancel box and returns the answer; the close box and Escape are Cancel. Cancel too
/// when standard input ends: whoever asked is gone.
[[nodiscard]] platform::Answer ask_retry_or_cancel(const std::string& title,
                                                   const std::string& text);

/// Shows a box with an OK button, and returns when it was closed.
void inform(const std::string& title, const std::string& text);

}  // namespace tarnwick::desktop
