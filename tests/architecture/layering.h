#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace tarnwick::architecture {

struct Layering {
  std::size_t files_read = 0;
  /// One line for each include that the order of the rooms forbids, sorted:
  /// "pcs/registered_pc.cpp:3: pcs may not include reports/report.h".
  std::vector<std::string> violations;
};

/// Reads the include lines of every source of the rooms in the tree at `root`.
[[nodiscard]] Layering check_layering(const std::filesystem::path& root);

}  // namespace tarnwick::architecture
