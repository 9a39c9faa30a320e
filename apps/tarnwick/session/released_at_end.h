#pragma once

#include <functional>
#include <memory>

#include "client/transport.h"

namespace tarnwick::cli {

/// Called with a record that is to be locked, before it is.
using BeforeLock = std::function<void(client::Transport& transport, const client::Object& record)>;

/// `inner` for a process that others do not notice the end of: what it has of the object model is
/// given up by release_all_for_good.
[[nodiscard]] std::unique_ptr<client::Transport> released_at_end(
    std::unique_ptr<client::Transport> inner, BeforeLock before_lock);

/// Gives up every object that such a transport has handed out, once the call that runs is over.
/// Whoever calls anything from then on waits for the end of the process.
void release_all_for_good();

}  // namespace tarnwick::cli
