#pragma once

#include <string>

#include "apps/tarnwick/failure.h"
#include "state/failures.h"

namespace tarnwick::cli {

/// Whether a step failed because it found no row, or went through though it found none.
[[nodiscard]] bool is_missing_row(const FailureCause& cause);

/// What a command ends with that `cause` kept from being done. `sentence` lacks its full stop; the
/// database's own reason is added where `account` does not tell it.
[[nodiscard]] Failure failure_of(const FailureCause& cause, const std::string& sentence,
                                 TextView account);

}  // namespace tarnwick::cli
