#pragma once

#include <filesystem>

namespace tarnwick::cli {

/// A folder of its own under the system's folder for temporary files; goes with everything in it.
class ScratchFolder final {
 public:
  /// Throws std::system_error.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace tarnwick::cli
