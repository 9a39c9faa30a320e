#pragma once

#include <string>

#include "apps/tarnwick/failure.h"
#include "client/transport.h"
#include "state/failures.h"

namespace tarnwick::cli {

/// What a command ends with that `cause` kept from being done. `sentence` lacks its full stop; the
/// database's own reason is added where `account` does not tell it.
[[nodiscard]] Failure failure_of(const FailureCause& cause, const std::string& sentence,
                                 TextView account);

/// What a command ends with when a call came to no result.
[[nodiscard]] Failure failure_of(const client::CallError& error);

/// Runs `step`; a call in it that comes to no result is a Failure.
template <class Step>
auto with_failures(Step&& step) {
  try {
    return step();
  } catch (const client::CallError& error) {
    throw failure_of(error);
  }
}

}  // namespace tarnwick::cli
