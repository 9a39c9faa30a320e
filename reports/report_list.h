#pragma once

#include <array>

#include "runtime/text.h"

namespace tarnwick {

/// Reads the catalog by name, without the report files.
inline constexpr TextView kReportList =
    u"Select ReportName, Title, Author, Created, Version, RptGrpID, ImageIndex, SQLStmnt, "
    u"ReportType, ReportDesc, MaintType, SoftLock, RowVersion, TTX_Binary, Definition  From  "
    u"DW_Reports  Order By ReportName";

/// The columns that a report needs.
inline constexpr std::array<TextView, 16> kReportColumns{
    u"ReportName", u"Title",      u"Author",     u"Created",      u"Version",   u"RptGrpID",
    u"ImageIndex", u"SQLStmnt",   u"ReportType", u"ReportDesc",   u"MaintType", u"SoftLock",
    u"RowVersion", u"TTX_Binary", u"Definition", u"Report_Binary"};

}  // namespace tarnwick
