#pragma once

#include "runtime/text.h"

namespace tarnwick {

/// Reads all PCs in the order of their MAC numbers. Two blanks after "From", as traces show it.
inline constexpr TextView kPcList = u"Select * From  DW_SEC_PC Order By MACNbr";

}  // namespace tarnwick
