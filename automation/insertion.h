#pragma once

#include "automation/model.h"
#include "state/enums.h"

namespace tarnwick::automation {

/// Whether objects of the class are records: rows of a table.
[[nodiscard]] bool is_record(const Class& of);

/// Writes `record`, of a class that is one, to a row of its own: as its Update, but a row that is
/// there already is refused (RecordChanged_ue). `full_report_name`: the report file to store, as
/// Update takes it; throws Error 5 for a record of another class unless it is empty.
[[nodiscard]] UpdateErrorEnum insert(const Object& record, TextView full_report_name = {});

}  // namespace tarnwick::automation
