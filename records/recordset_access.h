#pragma once

#include <memory>

#include "state/shared_state.h"

namespace tarnwick {

/// Reads `statement` through a client cursor on the shared connection. Null on failure, which is in
/// the error state then (component General, procedure GetRecordset). From the first call on the
/// connection's lock time-out is 2,000 ms.
[[nodiscard]] std::shared_ptr<ado::Recordset> get_recordset(SharedState& state, TextView statement,
                                                            ado::LockType lock_type);

}  // namespace tarnwick
