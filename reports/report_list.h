#pragma once

#include "runtime/text.h"

namespace tarnwick {

/// Reads the catalog by name, without the report files.
inline constexpr TextView kReportList =
    u"Select ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, "
    u"ReportType, ReportDesc, MaintType, SoftLock, RowVersion, TTX_Binary, Definition  From  "
    u"DW_Reports  Order By ReportName";

}  // namespace tarnwick
