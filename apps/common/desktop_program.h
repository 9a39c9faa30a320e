#pragma once

#include <filesystem>

namespace tarnwick::apps {

/// The program that shows windows, where it is installed; empty where it is not.
[[nodiscard]] std::filesystem::path desktop_program();

}  // namespace tarnwick::apps
