#pragma once

#include "platform/host.h"

namespace tarnwick::platform {

/// The computer name that belongs to a host name: its first label, at most 15 characters of it. So
/// Windows names computers after their hosts (the NetBIOS name), and every name fits where computer
/// names go.
[[nodiscard]] Text computer_name_of(TextView host_name);

/// Linux. `folder`: where the intermediate file goes; empty means the folder of the executable.
class LinuxHost final : public Host {
 public:
  LinuxHost(MessageBox& message_box, std::filesystem::path folder = {});

  bool computer_name(std::span<char16_t> buffer) override;
  [[nodiscard]] std::filesystem::path folder() override { return folder_; }
  [[nodiscard]] MessageBox& message_box() override { return message_box_; }

 private:
  MessageBox& message_box_;
  std::filesystem::path folder_;
};

}  // namespace tarnwick::platform
