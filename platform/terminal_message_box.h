#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>

#include "platform/message_box.h"

namespace tarnwick::platform {

/// Asks on a terminal: prints title and text, reads a line. "r" or "retry" in any letter case is
/// Retry, "c", "cancel" or the end of input Cancel; anything else is asked again.
class TerminalMessageBox final : public MessageBox {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// Returns once there is a line to read, or false when there is none until then.
  using WaitForLine = std::function<bool(Time until)>;

  /// A question that is open for `patience` is answered Cancel. The streams must outlive this.
  TerminalMessageBox(std::istream& input, std::ostream& output, std::chrono::seconds patience,
                     WaitForLine wait_for_line);
  [[nodiscard]] Answer retry_or_cancel(TextView text, TextView title, std::uint32_t) override;
  void inform(TextView text, TextView title) override;

 private:
  std::istream& input_;
  std::ostream& output_;
  std::chrono::seconds patience_;
  WaitForLine wait_for_line_;
};

}  // namespace tarnwick::platform
