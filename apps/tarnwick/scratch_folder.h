#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tarnwick::cli {

/// A folder of its own under the system's folder for temporary files; goes with everything in it.
class ScratchFolder final {
 public:
  /// Signals that end this process end the folder too, if it holds nothing but these files. At most
  /// one such folder at a time. Throws std::system_error.
  explicit ScratchFolder(std::vector<std::string> files);
  /// A signal leaves the folder behind. Throws std::system_error.
  ScratchFolder();
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  bool goes_by_signal_ = false;
};

}  // namespace tarnwick::cli
