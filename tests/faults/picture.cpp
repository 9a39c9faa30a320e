#include "tests/faults/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace tarnwick::test_support {
namespace {

bool includes(const Rows& all, const Rows& some) {
  return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

}  // namespace

bool tries_all() { return std::getenv("TARNWICK_PROVE") != nullptr; }

std::string content_of(const std::filesystem::path& path) {
  std::string content(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary)
      .read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

Files files_in(const std::filesystem::path& folder) {
  Files files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    files[entry.path().filename().string()] = content_of(entry.path());
  }
  return files;
}

void expect_whole(const Picture& now, const Picture& before, const Picture& after) {
  Rows known;
  std::set_union(before.rows.begin(), before.rows.end(), after.rows.begin(), after.rows.end(),
                 std::inserter(known, known.end()));
  Rows kept;
  std::set_intersection(before.rows.begin(), before.rows.end(), after.rows.begin(),
                        after.rows.end(), std::inserter(kept, kept.end()));
  EXPECT_TRUE(includes(known, now.rows)) << "half a row";
  EXPECT_TRUE(includes(now.rows, kept)) << "another row was lost";
  EXPECT_GE(now.rows.size(), std::min(before.rows.size(), after.rows.size())) << "a row was lost";
  for (const auto& [name, content] : now.files) {
    const auto is_in = [&, &name = name, &content = content](const Files& files) {
      const auto found = files.find(name);
      return found != files.end() && (found->second == content || name == "TTX.bin");
    };
    EXPECT_TRUE(is_in(before.files) || is_in(after.files)) << "half a file: " << name;
  }
}

}  // namespace tarnwick::test_support
