#pragma once

#include <filesystem>
#include <span>
#include <utility>

#include "platform/host.h"

namespace tarnwick::fuzz {

/// An operating system that nobody sits before: every question is answered by Cancel.
class QuietHost final : public platform::Host {
 public:
  explicit QuietHost(std::filesystem::path folder) : folder_(std::move(folder)) {}

  bool computer_name(std::span<char16_t> buffer) override {
    if (buffer.size() < 2) return false;
    buffer[0] = u'D';
    buffer[1] = u'\0';
    return true;
  }
  [[nodiscard]] std::filesystem::path folder() override { return folder_; }
  [[nodiscard]] Date now() override { return Date{45284.0}; }
  [[nodiscard]] platform::MessageBox& message_box() override { return box_; }

 private:
  class Box final : public platform::MessageBox {
   public:
    platform::Answer retry_or_cancel(TextView, TextView, std::uint32_t) override {
      return platform::Answer::kCancel;
    }
    void inform(TextView, TextView) override {}
  };

  std::filesystem::path folder_;
  Box box_;
};

}  // namespace tarnwick::fuzz
