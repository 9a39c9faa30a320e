#pragma once

#include "apps/tarnwick/files/comparison.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// Does what the change says, which has to write something: adds, changes or deletes the record
/// under its lock. Throws Failure, with nothing written: kChanged where somebody else changed,
/// added or deleted it since it was compared, kLocked where another process maintains it.
void apply_change(const Session& session, const Change& change);

}  // namespace tarnwick::cli
