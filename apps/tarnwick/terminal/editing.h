#pragma once

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// Has somebody change the values of `row` that switches set, as JSON in $VISUAL, else $EDITOR,
/// else vi. Throws Failure: the editor failed, nothing was changed, or what came back cannot be
/// read.
void edit_row(Row& row);

}  // namespace tarnwick::cli
