#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "platform/message_box.h"

namespace tarnwick::platform {

/// Asks on the desktop, through a program of its own that shows the windows: it is started for each
/// question and ended with it. Where there is no screen, or the program cannot show a window there,
/// `otherwise` is asked. A question that nobody answers within `patience` is answered Cancel.
class DesktopMessageBox final : public MessageBox {
 public:
  using Log = std::function<void(TextView)>;

  /// `program`: prints "retry" or "cancel" when called with "retry-or-cancel", a title and a text;
  /// ends when its standard input does. `otherwise` must outlive this.
  DesktopMessageBox(std::filesystem::path program, std::chrono::seconds patience,
                    MessageBox& otherwise, Log log);

  [[nodiscard]] Answer retry_or_cancel(TextView text, TextView title,
                                       std::uint32_t retried) override;
  void inform(TextView text, TextView title) override;

 private:
  struct Outcome {
    bool in_time = false;
    bool shown = false;  // the program ended in order
    std::string printed;
  };
  /// Nothing where there is no screen or no program.
  [[nodiscard]] std::optional<Outcome> run(const char* command, TextView text, TextView title);

  std::filesystem::path program_;
  std::chrono::seconds patience_;
  MessageBox& otherwise_;
  Log log_;
};

}  // namespace tarnwick::platform
