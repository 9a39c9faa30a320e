#include "platform/unattended_message_box.h"

#include <charconv>
#include <utility>

namespace tarnwick::platform {
namespace {

constexpr std::uint32_t kMostRetries = 1'000'000;

Text log_line(TextView title, TextView text, TextView outcome) {
  return title.empty() ? join({text, outcome}) : join({title, u": ", text, outcome});
}

}  // namespace

std::optional<WhenLocked> WhenLocked::parse(std::string_view text) {
  constexpr std::string_view kRetryPrefix = "retry:";
  if (text == "ask") return WhenLocked{Kind::kAsk, 0};
  if (text == "cancel") return WhenLocked{Kind::kCancel, 0};
  if (!text.starts_with(kRetryPrefix)) return std::nullopt;
  const std::string_view digits = text.substr(kRetryPrefix.size());
  std::uint32_t retries = 0;
  const char* end = digits.data() + digits.size();
  const auto result = std::from_chars(digits.data(), end, retries);
  const bool whole = result.ec == std::errc() && result.ptr == end;
  if (!whole || retries < 1 || retries > kMostRetries) return std::nullopt;
  return WhenLocked{Kind::kRetry, retries};
}

UnattendedMessageBox::UnattendedMessageBox(WhenLocked when_locked, Log log)
    : when_locked_(when_locked), log_(std::move(log)) {}

Answer UnattendedMessageBox::retry_or_cancel(TextView text, TextView title, std::uint32_t retried) {
  if (when_locked_.kind == WhenLocked::Kind::kRetry && retried < when_locked_.retries) {
    log_(log_line(title, text,
                  join({u" Answered: Retry (", decimal(retried + 1), u" of ",
                        decimal(when_locked_.retries), u")."})));
    return Answer::kRetry;
  }
  log_(log_line(title, text, u" Answered: Cancel."));
  return Answer::kCancel;
}

void UnattendedMessageBox::inform(TextView text, TextView title) {
  log_(log_line(title, text, u""));
}

}  // namespace tarnwick::platform
