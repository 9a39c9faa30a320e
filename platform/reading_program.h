#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarnwick::platform {

/// Lets a program show `text`: what the command line `command` says, or the usual one where none is
/// given, which is less with LESS=FRX unless that is set. Returns when its reader has left it,
/// before the end of the text or behind it; false where it has not run at all.
bool show_in_program(const std::optional<std::string>& command, std::string_view text);

/// Ends the program that shows something, and gives the terminal back as it was. Whoever starts one
/// from then on waits for the end of the process.
void end_showing_for_good();

/// Runs an editor, the command line `command`, on `file`. Whether it ended in order.
[[nodiscard]] bool run_editor(const std::string& command, const std::filesystem::path& file);

/// The editor that is used where nobody has named one.
[[nodiscard]] std::string usual_editor();

}  // namespace tarnwick::platform
