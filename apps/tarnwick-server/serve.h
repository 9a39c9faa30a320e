#pragma once

#include "apps/tarnwick-server/log.h"
#include "apps/tarnwick-server/options.h"

namespace tarnwick::server_app {

/// Serves a bus until it is idle, is told to end (SIGTERM, SIGINT), or the bus goes away. Returns
/// the exit code. Throws std::exception when it cannot begin.
int serve(const Options& options, const Log& log);

}  // namespace tarnwick::server_app
