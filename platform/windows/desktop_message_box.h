#pragma once

#include <functional>

#include "platform/message_box.h"

namespace tarnwick::platform {

/// Asks on the desktop. Where there is no screen, `without_screen` answers. The box lives on a
/// thread of its own, and the calling thread waits for it without taking messages: in a
/// single-threaded apartment other clients' calls stay queued until the box was answered.
class DesktopMessageBox final : public MessageBox {
 public:
  /// `without_screen` must outlive this.
  explicit DesktopMessageBox(MessageBox& without_screen);
  [[nodiscard]] Answer retry_or_cancel(TextView text, TextView title,
                                       std::uint32_t retried) override;
  void inform(TextView text, TextView title) override;

 private:
  MessageBox& without_screen_;
};

}  // namespace tarnwick::platform
