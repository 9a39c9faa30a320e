#pragma once

#include <filesystem>

namespace tarnwick::cli {

/// A folder of its own under the system's folder for temporary files, or under another one; goes
/// with everything in it, also where a signal ends this process (see set_up_process).
class ScratchFolder final {
 public:
  // Throw std::system_error.
  ScratchFolder();
  /// A hidden one in `parent`, whose files can be moved there as they are.
  explicit ScratchFolder(const std::filesystem::path& parent);
  ~ScratchFolder();
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// Removes all that there are. Whoever makes or ends one from then on waits for the end of the
  /// process.
  static void remove_all_for_good();

 private:
  void make(const std::filesystem::path& beginning);

  std::filesystem::path path_;
};

}  // namespace tarnwick::cli
