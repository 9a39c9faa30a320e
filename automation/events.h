#pragma once

#include <functional>

#include "state/failures.h"

namespace tarnwick::automation {

/// What happens in a serving process that whoever administers the machine should know of. The
/// values are the identifiers of the events where a system's log wants some.
enum class EventKind {
  kStarted = 1,
  kEnded = 2,
  kUnanswered = 3,      // a question that nobody could answer
  kRefused = 4,         // the database refused a statement or a commit
  kConnectionLost = 5,  // and what was not committed is gone
  kOutcomeUnknown = 6,  // lost in the midst of a commit
  kBroken = 7,          // the process cannot serve
};

enum class Severity { kInformation, kWarning, kError };

struct Event {
  EventKind kind;
  Text text;                // one line; no secret in it
  Text client = {};         // whose call it was; empty where it was nobody's
  FailureCause cause = {};  // of what the database refused
};

[[nodiscard]] Severity severity_of(EventKind kind);

/// Decides what an administrator is told, for both faces; `log` carries it to where the system
/// keeps such things.
class Events {
 public:
  using Log = std::function<void(const Event&)>;
  explicit Events(Log log) : log_(std::move(log)) {}

  void started() const { log_({EventKind::kStarted, u"Serving"}); }
  void ended(TextView why = u"Ending") const { log_({EventKind::kEnded, Text(why)}); }
  /// `text`: the question, and what was answered for want of anybody.
  void unanswered(TextView text, TextView client = {}) const {
    log_({EventKind::kUnanswered, Text(text), Text(client)});
  }
  /// A call of `client` came to nothing, or to less than it should have. What an engine said is an
  /// event; what the object model refuses by its own rules is between it and its client.
  void failed(TextView client, const FailureCause& cause) const;
  void broken(TextView text) const { log_({EventKind::kBroken, Text(text)}); }

 private:
  Log log_;
};

}  // namespace tarnwick::automation
