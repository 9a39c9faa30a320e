#pragma once

#include <memory>
#include <string>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// The object model in the service of the system: on Linux that on a bus, on Windows the registered
/// COM server. It can be connected with `connect_string` without taking anything from its other
/// clients. Throws Failure.
[[nodiscard]] std::unique_ptr<Session> open_service_session(const Options& options,
                                                            TextView connect_string);

/// Gives up, when the process is made to end, what the service would not notice that nobody has any
/// more. Whoever uses the service from then on waits for the end of the process.
void release_service_for_good();

/// What the help tells of that service.
[[nodiscard]] std::string service_help();

}  // namespace tarnwick::cli
