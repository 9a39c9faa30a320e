#pragma once

#include <string>
#include <string_view>

namespace tarnwick::cli {

/// What `shell` ("bash", "zsh", "fish", "powershell") reads to complete the program's command
/// lines.
[[nodiscard]] std::string_view completion_script(const std::string& shell);

}  // namespace tarnwick::cli
