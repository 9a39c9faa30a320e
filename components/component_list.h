#pragma once

#include <array>

#include "runtime/text.h"

namespace tarnwick {

/// Reads all components in the order of their ids. Two blanks after "From", as traces show it.
inline constexpr TextView kComponentList = u"Select * From  DW_SEC_COMP Order By CompID";

/// The columns that a component needs.
inline constexpr std::array<TextView, 14> kComponentColumns{
    u"CompID",       u"CompName",  u"ParentID",       u"Priority", u"ImageIndex",
    u"ForceDisplay", u"MaintType", u"SecGrpID",       u"RptCode",  u"Server",
    u"RowVersion",   u"MetaID",    u"AuthorizedRole", u"SoftLock"};

}  // namespace tarnwick
