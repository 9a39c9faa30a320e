#pragma once

#include "platform/host.h"

namespace tarnwick::platform {

/// Windows. `folder`: where the intermediate file goes; empty means the folder of the executable.
class WindowsHost final : public Host {
 public:
  explicit WindowsHost(MessageBox& message_box, std::filesystem::path folder = {});

  /// False also when the name, with its NUL, does not fit.
  bool computer_name(std::span<char16_t> buffer) override;
  [[nodiscard]] std::optional<Text> module_file_name() override;
  [[nodiscard]] std::filesystem::path folder() override { return folder_; }
  [[nodiscard]] MessageBox& message_box() override { return message_box_; }
  void stop_in_debugger() override;

 private:
  MessageBox& message_box_;
  std::filesystem::path folder_;
};

/// Full file name of the running executable.
[[nodiscard]] std::wstring executable_file_name();

}  // namespace tarnwick::platform
