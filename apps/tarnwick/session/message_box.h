#pragma once

#include <chrono>
#include <memory>

#include "apps/tarnwick/options.h"
#include "platform/terminal_message_box.h"
#include "runtime/text.h"

namespace tarnwick::cli {

using SharedBox = std::shared_ptr<platform::MessageBox>;

/// A line on standard error.
void tell(TextView line);

/// Asks on the desktop; where there is none, the answer is Cancel.
[[nodiscard]] SharedBox make_desktop_box(std::chrono::seconds patience);

/// What answers the questions of a session, as `options` say: on the terminal where there is one,
/// else on the desktop. `wait_for_line`: see platform::TerminalMessageBox.
[[nodiscard]] SharedBox make_message_box(const Options& options,
                                         platform::TerminalMessageBox::WaitForLine wait_for_line);

}  // namespace tarnwick::cli
