#pragma once

#include <exception>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <string_view>

namespace tarnwick::test_support {

/// An empty folder of its own, gone with the object, whatever is in it then.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(
      const std::filesystem::path& place = std::filesystem::temp_directory_path()) {
    std::random_device random;
    do {
      path_ =
          place / ("tarnwick-test-" + std::to_string(random()) + "-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(path_));
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    if (!remove()) remove();  // a test may have the first attempt fail
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Writes a file with this content, its folders too; returns its full path.
  std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
    const std::filesystem::path file = path_ / name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary);
    stream.exceptions(std::ios::failbit | std::ios::badbit);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.close();
    return file;
  }

 private:
  // Not the form with an error code: that one ends the program where it gets no memory.
  bool remove() noexcept {
    try {
      std::filesystem::remove_all(path_);
      return true;
    } catch (const std::exception&) {
      return false;
    }
  }

  std::filesystem::path path_;
};

}  // namespace tarnwick::test_support
