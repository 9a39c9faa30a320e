#pragma once

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "runtime/text.h"

namespace tarnwick::test_support {

/// Whether everything is tried, and not a sample.
[[nodiscard]] bool tries_all();

using Rows = std::multiset<std::string>;
/// Name and content of every file in a folder.
using Files = std::map<std::string, std::string>;

[[nodiscard]] std::string content_of(const std::filesystem::path& path);
[[nodiscard]] Files files_in(const std::filesystem::path& folder);

/// What a job can change.
struct Picture {
  Rows rows;
  Files files;
  Text shown;
};

/// Whole rows and files only, of before or of after, and no row lost.
void expect_whole(const Picture& now, const Picture& before, const Picture& after);

}  // namespace tarnwick::test_support
