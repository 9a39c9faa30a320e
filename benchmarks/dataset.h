#pragma once

#include <filesystem>

#include "runtime/text.h"

namespace tarnwick::benchmarks {

inline constexpr TextView kRole = u"bench";
inline constexpr TextView kPassword = u"bench";

/// What a made-up database holds.
struct DatasetSize {
  int pcs = 0;
  int reports = 0;
  /// Characters of a report's Definition, and of its field definitions (TTX_Binary; 0: null).
  int definition = 0;
  int ttx = 0;
};

/// Makes an embedded database of that size in the new folder `folder`; always the same content.
void make_dataset(const std::filesystem::path& folder, const DatasetSize& size);

/// The folder below `scratch` with a database of so many PCs; made by the first job that asks.
[[nodiscard]] std::filesystem::path pc_dataset(const std::filesystem::path& scratch, int count);

/// The file that make_dataset made.
[[nodiscard]] std::filesystem::path database_file(const std::filesystem::path& folder);

}  // namespace tarnwick::benchmarks
