#pragma once

#include <memory>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"
#include "apps/tarnwick/terminal/terminal_input.h"
#include "platform/message_box.h"

namespace tarnwick::cli {

/// The object model in a service that can be connected to `connect_string` without taking anything
/// from its other clients: that of the bus that `options` name or of the session, or one of this
/// process's own. `message_box` answers when a call meets a lock; one that does so by `input` gives
/// up when the service no longer waits. Throws Failure.
[[nodiscard]] std::unique_ptr<Session> open_service(
    const Options& options, TextView connect_string,
    std::unique_ptr<platform::MessageBox> message_box, std::shared_ptr<TerminalInput> input);

}  // namespace tarnwick::cli
