#pragma once

#include "automation/events.h"
#include "platform/windows/api.h"

namespace tarnwick::apps {

/// The application log of Windows, under the source "Tarnwick", and the debugger's output. The
/// installer registers the source; where nobody did, the viewer shows the events without their
/// sentences. A log that takes nothing keeps nobody from working.
class EventLog final {
 public:
  EventLog();
  ~EventLog();
  EventLog(const EventLog&) = delete;
  EventLog& operator=(const EventLog&) = delete;

  void write(const automation::Event& event) const;

 private:
  HANDLE source_ = nullptr;
};

}  // namespace tarnwick::apps
