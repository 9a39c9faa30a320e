#pragma once

#include "components/component.h"

namespace tarnwick {

/// Reads all components in the order of their ids. Two blanks after "From", as traces show it.
inline constexpr TextView kComponentList = u"Select * From  DW_SEC_COMP Order By CompID";

/// Copies the current row of `rows` into `component`, column by column. False when a column could
/// not be copied, or an argument is null; the columns before it keep their new values. Recorded as
/// component General, procedure RefreshComponent.
bool refresh_component(SharedState& state, ado::Recordset* rows, Component* component);

}  // namespace tarnwick
