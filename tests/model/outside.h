#pragma once

#include "tests/model/reference_model.h"
#include "tests/support/plain_sqlite.h"

namespace tarnwick::model {

// What another program does and sees, which knows nothing of the system.

/// One of the steps from kInsertRow to kSpoilRow.
void write_from_outside(test_support::PlainSqlite& database, const Step& step);

/// All rows as they are committed.
void add_stored_rows(test_support::PlainSqlite& database, Sight& sight);

}  // namespace tarnwick::model
