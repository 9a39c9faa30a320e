#include "apps/windows/event_log.h"

#include <tarnwick_events.h>

#include <array>

#include "platform/windows/wide.h"

namespace tarnwick::apps {
namespace {

using automation::Event;
using automation::EventKind;
using automation::Severity;

// What the log takes of one text is a little more.
constexpr std::size_t kMostUnits = 30'000;

WORD type_of(EventKind kind) {
  switch (severity_of(kind)) {
    case Severity::kInformation:
      return EVENTLOG_INFORMATION_TYPE;
    case Severity::kWarning:
      return EVENTLOG_WARNING_TYPE;
    case Severity::kError:
      break;
  }
  return EVENTLOG_ERROR_TYPE;
}

DWORD id_of(EventKind kind) {
  static constexpr std::array<DWORD, 7> kIds{
      TARNWICK_STARTED,         TARNWICK_ENDED,           TARNWICK_UNANSWERED, TARNWICK_REFUSED,
      TARNWICK_CONNECTION_LOST, TARNWICK_OUTCOME_UNKNOWN, TARNWICK_BROKEN};
  return kIds[static_cast<std::size_t>(kind) - 1];
}

}  // namespace

EventLog::EventLog() : source_(RegisterEventSourceW(nullptr, L"Tarnwick")) {}

EventLog::~EventLog() {
  if (source_ != nullptr) DeregisterEventSource(source_);
}

void EventLog::write(const Event& event) const {
  const std::wstring text = platform::to_wide(TextView(event.text).substr(0, kMostUnits));
  OutputDebugStringW((L"Tarnwick: " + text).c_str());
  if (source_ == nullptr) return;
  const wchar_t* texts[] = {text.c_str()};
  ReportEventW(source_, type_of(event.kind), 0, id_of(event.kind), nullptr, 1, 0, texts, nullptr);
}

}  // namespace tarnwick::apps
