#pragma once

#include "runtime/text.h"

namespace tarnwick {

/// Reads all components in the order of their ids. Two blanks after "From", as traces show it.
inline constexpr TextView kComponentList = u"Select * From  DW_SEC_COMP Order By CompID";

}  // namespace tarnwick
