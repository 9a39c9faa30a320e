#pragma once

#include <filesystem>
#include <optional>

#include "runtime/text.h"

namespace tarnwick::cli {

/// The folder of the embedded database that the connection string names; nothing where it names
/// another kind of database. Throws Failure (kUsage) where it cannot be read.
[[nodiscard]] std::optional<std::filesystem::path> embedded_folder(const Text& connect_string);

}  // namespace tarnwick::cli
