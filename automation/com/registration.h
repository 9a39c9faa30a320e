#pragma once

#include <string>

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// Under which the registry keeps what concerns the process as a whole.
inline constexpr GUID kAppId{
    0xD696816B, 0x1EFD, 0x4E41, {0x88, 0xE5, 0x7B, 0x81, 0xF7, 0x77, 0x70, 0x57}};

/// Whose registry: that of the machine (HKEY_LOCAL_MACHINE, for administrators) or of the user.
enum class Scope { kMachine, kUser };

/// What the registry is told about the server.
struct Installation {
  std::wstring executable;  // full file name
  /// Switches that COM passes on when it starts the server; empty for none.
  std::wstring switches;
};

/// Writes all that COM has to know of the server: classes, ProgIDs with and without version, AppID,
/// type library, and the interfaces with the universal marshaler; for 64-bit programs and for
/// 32-bit ones. May be repeated; replaces what an earlier registration wrote. Throws Error, and
/// leaves nothing behind, when it cannot be written.
void register_server(Scope scope, const Installation& installation);

/// Removes all of it, and the keys above that the registration had to make and nobody else uses.
/// May be repeated. Throws Error when something cannot be removed.
void unregister_server(Scope scope);

}  // namespace tarnwick::automation::com
