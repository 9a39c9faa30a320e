#pragma once

#include "runtime/text.h"

namespace tarnwick {

/// `connect_string` with exactly one item "OLE DB Services=-2" (all OLE DB services switched off,
/// as an application role demands), behind the first ";" or at the end; items of that name that
/// were there, in any letter case and with any value, are gone. Values are not looked into: the
/// name counts wherever it stands.
[[nodiscard]] Text without_ole_db_services(TextView connect_string);

}  // namespace tarnwick
