#pragma once

#include <cstdint>

#include "runtime/text.h"

namespace tarnwick::platform {

enum class Answer { kOk, kRetry, kCancel };

/// A modal box with a text and buttons; each surface (desktop, terminal, unattended) is one of
/// these. Returns when it was answered.
class MessageBox {
 public:
  virtual ~MessageBox() = default;
  /// `retried`: how often this very question was answered Retry before, as it is asked again.
  [[nodiscard]] virtual Answer retry_or_cancel(TextView text, TextView title,
                                               std::uint32_t retried) = 0;
  virtual void inform(TextView text, TextView title) = 0;
};

}  // namespace tarnwick::platform
