#pragma once

#include "ado/enums.h"
#include "state/shared_state.h"

namespace tarnwick {

/// Executes `statement`, which deletes rows and commits by itself, on the shared connection. Error
/// 91 without one, else what Connection::execute throws; of a connection that is lost meanwhile the
/// last cause says that nobody knows whether the rows are gone.
void execute_delete(SharedState& state, TextView statement,
                    std::int32_t options = ado::kOptionUnspecified);

}  // namespace tarnwick
