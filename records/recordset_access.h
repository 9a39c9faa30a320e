#pragma once

#include <memory>

#include "state/shared_state.h"

namespace tarnwick {

/// Reads `statement` through a client cursor on the shared connection. Null on failure, which is in
/// the error state then (component General, procedure GetRecordset). From the first call on the
/// connection's lock time-out is 2,000 ms.
[[nodiscard]] std::shared_ptr<ado::Recordset> get_recordset(SharedState& state, TextView statement,
                                                            ado::LockType lock_type);

/// Executes `statement`, which deletes rows and commits by itself, on the shared connection. Error
/// 91 without one, else what Connection::execute throws; of a connection that is lost meanwhile the
/// last cause says that nobody knows whether the rows are gone.
void execute_delete(SharedState& state, TextView statement,
                    std::int32_t options = ado::kOptionUnspecified);

}  // namespace tarnwick
