#pragma once

#include "pcs/registered_pc.h"

namespace tarnwick {

/// Reads all PCs in the order of their MAC numbers. Two blanks after "From", as traces show it.
inline constexpr TextView kPcList = u"Select * From  DW_SEC_PC Order By MACNbr";

/// Loads `pc` from the current row of `rows` and clears its mark of a change. False when a column
/// could not be read, or an argument is null; the columns before it keep their new values. Recorded
/// as component General, procedure RefreshPC.
bool refresh_pc(SharedState& state, ado::Recordset* rows, RegisteredPC* pc);

/// Reads the whole register anew into the shared store, in the order of the MAC numbers. True also
/// when the table cannot be read: the store stays as it was. False when the loading stopped (two
/// rows with one key); the entries before stay. Recorded as component Tarnwick, procedure
/// General.RefreshPCs.
bool refresh_pcs(SharedState& state);

}  // namespace tarnwick
