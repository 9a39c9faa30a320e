#pragma once

#include <iosfwd>

#include "platform/message_box.h"

namespace tarnwick::platform {

/// Asks on a terminal: prints title and text, reads a line. "r" or "retry" in any letter case is
/// Retry, "c", "cancel" or the end of input Cancel; anything else is asked again.
class TerminalMessageBox final : public MessageBox {
 public:
  TerminalMessageBox(std::istream& input, std::ostream& output);
  [[nodiscard]] Answer retry_or_cancel(TextView text, TextView title) override;
  void inform(TextView text, TextView title) override;

 private:
  std::istream& input_;
  std::ostream& output_;
};

}  // namespace tarnwick::platform
