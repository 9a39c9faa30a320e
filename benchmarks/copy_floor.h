#pragma once

#include <filesystem>

#include "runtime/text.h"

namespace tarnwick::benchmarks {

/// Copies the PCs of the embedded database in `folder` into an empty table of the server's, in one
/// transaction, by arrays of parameters. Throws std::runtime_error.
void copy_by_row_arrays(const std::filesystem::path& folder, const Text& connect);

}  // namespace tarnwick::benchmarks
