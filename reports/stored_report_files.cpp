#include "reports/stored_report_files.h"

#include "runtime/conversions.h"

namespace tarnwick {

std::vector<StoredReportFile> stored_report_files(SharedState& state) {
  ado::Connection& connection = state.require_connection();
  ado::Recordset rows;
  rows.set_active_connection(state.connection);
  rows.set_cursor_location(ado::CursorLocation::kServer);
  rows.set_cursor_type(ado::CursorType::kForwardOnly);
  rows.set_lock_type(ado::LockType::kReadOnly);
  rows.set_held_rows(ado::HeldRowReading::kAsItStands);
  rows.open(join({u"Select ReportName, ", connection.byte_length_of(u"Report_Binary"),
                  u" As FileLength From DW_Reports Order By ReportName"}),
            ado::kCommandText);
  std::vector<StoredReportFile> files;
  for (; !rows.eof(); rows.move_next()) {
    const Variant length = rows.field(u"FileLength").value();
    if (is_null(length)) continue;
    files.push_back(
        {to_text(rows.field(u"ReportName").value()), static_cast<std::int64_t>(to_double(length))});
  }
  return files;
}

}  // namespace tarnwick
