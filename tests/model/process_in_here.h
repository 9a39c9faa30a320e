#pragma once

#include "ado/engine.h"
#include "tests/model/played_system.h"

namespace tarnwick::model {

/// In this very process, on an engine of its own. Nobody there waits for a lock.
[[nodiscard]] std::unique_ptr<PlayedProcess> make_process_in_here(
    std::unique_ptr<ado::Engine> engine, const ProcessTraits& traits);
/// On the embedded engine; it does all that can be done to a process in here.
[[nodiscard]] std::unique_ptr<PlayedProcess> make_embedded_process(int number);

}  // namespace tarnwick::model
