#pragma once

#include <array>

#include "runtime/text.h"

namespace tarnwick {

/// Reads all PCs in the order of their MAC numbers. Two blanks after "From", as traces show it.
inline constexpr TextView kPcList = u"Select * From  DW_SEC_PC Order By MACNbr";

/// The columns that a PC needs.
inline constexpr std::array<TextView, 16> kPcColumns{
    u"MACNbr",         u"ComputerID",  u"CompID",       u"MaintType",
    u"ActiveStatus",   u"ImageIndex",  u"LastUser",     u"LastLogin",
    u"TotalLogins",    u"ActivatedBy", u"ActivateDate", u"DeactivatedBy",
    u"DeactivateDate", u"SoftLock",    u"RowVersion",   u"SoftwareVersion"};

}  // namespace tarnwick
