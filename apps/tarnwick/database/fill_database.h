#pragma once

#include <memory>

#include "ado/connection.h"
#include "apps/tarnwick/files/record_folder.h"

namespace tarnwick::cli {

/// Inserts all records into the empty tables, or none of them: every column that files tell of, as
/// they tell it. Throws Error when the database refuses a row, Failure for a file that cannot be
/// read.
void fill_database(const std::shared_ptr<ado::Connection>& connection, const RecordFolder& records);

}  // namespace tarnwick::cli
