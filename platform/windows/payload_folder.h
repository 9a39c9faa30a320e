#pragma once

#include <filesystem>
#include <span>

#include "platform/windows/api.h"

namespace tarnwick::platform {

/// Where a program keeps the intermediate file of payloads where nobody says: in the folder of its
/// executable, or, where that lies below one of `program_folders` or this user cannot write there,
/// in `users_folder`.
[[nodiscard]] std::filesystem::path choose_payload_folder(
    const std::filesystem::path& executable_folder,
    std::span<const std::filesystem::path> program_folders,
    const std::filesystem::path& users_folder);

/// Where this program keeps that file: in the folder that is given, or else where
/// choose_payload_folder() says for the folders of Windows' programs and the user's
/// %LOCALAPPDATA%\Tarnwick. That one is made, and goes with the file when the last program that has
/// one of these ends: nothing would take it away when Tarnwick is removed.
class PayloadFolder final {
 public:
  /// `given` may be empty.
  explicit PayloadFolder(std::filesystem::path given);
  ~PayloadFolder();
  PayloadFolder(const PayloadFolder&) = delete;
  PayloadFolder& operator=(const PayloadFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  HANDLE held_ = INVALID_HANDLE_VALUE;  // keeps other programs from taking the user's folder away
};

}  // namespace tarnwick::platform
