#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

#include "ado/stream.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::ado {

namespace fs = std::filesystem;

inline Bytes bytes(std::string_view text) {
  const auto view = std::as_bytes(std::span(text));
  return {view.begin(), view.end()};
}

inline Text text_of(const fs::path& path) { return from_utf8(path.string()); }

inline std::string content_of(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline Stream binary(Bytes content) {
  Stream stream;
  stream.set_type(StreamType::kBinary);
  stream.open();
  stream.write(std::move(content));
  return stream;
}

/// Streams that are saved to and loaded from files in a folder of the test's own.
class StreamFileTest : public testing::Test {
 protected:
  [[nodiscard]] std::ptrdiff_t files_in_folder() const {
    return std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator());
  }

  test_support::TemporaryFolder folder;
  fs::path file = folder.path() / "file.bin";
};

}  // namespace tarnwick::ado
