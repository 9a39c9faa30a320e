#include "automation/events.h"

#include <algorithm>

#include "runtime/error.h"

namespace tarnwick::automation {
namespace {

// Its own errors have positive numbers, and one that the object model shares with its clients.
bool is_of_an_engine(const FailureCause& cause) {
  return cause.number < 0 && cause.number != static_cast<std::int32_t>(ErrorNumber::kUserDefined);
}

EventKind kind_of(const FailureCause& cause) {
  if (cause.outcome_unknown) return EventKind::kOutcomeUnknown;
  return cause.kind == ado::FailureKind::kConnectionLost ? EventKind::kConnectionLost
                                                         : EventKind::kRefused;
}

}  // namespace

Severity severity_of(EventKind kind) {
  switch (kind) {
    case EventKind::kStarted:
    case EventKind::kEnded:
      return Severity::kInformation;
    case EventKind::kBroken:
      return Severity::kError;
    default:
      return Severity::kWarning;
  }
}

void Events::failed(TextView client, const FailureCause& cause) const {
  if (!is_of_an_engine(cause)) return;
  Text line = join({u"A call of ", client, u" failed: ", decimal(cause.number), u" (",
                    decimal(cause.native), u"): ", cause.text});
  // One failure is one line, whatever the engine says.
  std::ranges::replace_if(
      line, [](char16_t unit) { return unit < u' '; }, u' ');
  log_({kind_of(cause), std::move(line), Text(client), cause});
}

}  // namespace tarnwick::automation
