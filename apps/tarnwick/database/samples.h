#pragma once

#include <filesystem>

namespace tarnwick::cli {

/// Where the samples of this installation lie: beside the program, or in the tree that it was built
/// from. Throws Failure when they are in neither place.
[[nodiscard]] std::filesystem::path samples_folder();

}  // namespace tarnwick::cli
