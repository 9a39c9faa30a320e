#pragma once

#include "apps/tarnwick/rows.h"

namespace tarnwick::cli {

/// Has somebody change the fields of `row` that can be set, as JSON in $VISUAL, else $EDITOR, else
/// vi. Exists for PcRow and ReportRow. Throws Failure: the editor failed, nothing was changed, or
/// what came back cannot be read.
template <class Row>
void edit_row(Row& row);

}  // namespace tarnwick::cli
