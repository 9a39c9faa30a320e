#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

#include "platform/message_box.h"

namespace tarnwick::platform {

/// What answers the Retry/Cancel box where nobody can: the switch --when-locked.
struct WhenLocked {
  /// "ask": as cancel where there is nobody to ask. "cancel". "retry:N": Retry N times for one
  /// question.
  enum class Kind { kAsk, kCancel, kRetry };
  Kind kind = Kind::kAsk;
  std::uint32_t retries = 0;

  /// Nothing when `text` has none of the three forms, or N is not in 1 to 1000000.
  [[nodiscard]] static std::optional<WhenLocked> parse(std::string_view text);
};

/// Answers at once by a WhenLocked, with a line in the log: a question that was answered Retry N
/// times is cancelled.
class UnattendedMessageBox final : public MessageBox {
 public:
  using Log = std::function<void(TextView)>;
  UnattendedMessageBox(WhenLocked when_locked, Log log);
  [[nodiscard]] Answer retry_or_cancel(TextView text, TextView title,
                                       std::uint32_t retried) override;
  void inform(TextView text, TextView title) override;

 private:
  WhenLocked when_locked_;
  Log log_;
};

}  // namespace tarnwick::platform
