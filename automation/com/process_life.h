#pragma once

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// Counts what keeps the server process alive: clients' objects and their locks of class objects.
/// COM counts along (CoAddRefServerProcess), so that it starts no client on a process that ends.
class ProcessLife {
 public:
  /// Calls `PostThreadMessage(thread, kIdle)` whenever nothing is held any more.
  static constexpr UINT kIdle = WM_APP + 1;
  /// The same when the process of a client has ended that held a row.
  static constexpr UINT kClientEnded = WM_APP + 2;
  explicit ProcessLife(DWORD thread) : thread_(thread) {}

  void hold() {
    InterlockedIncrement(&held_);
    CoAddRefServerProcess();
  }
  void release() {
    const bool idle = InterlockedDecrement(&held_) == 0;
    CoReleaseServerProcess();
    if (idle) PostThreadMessageW(thread_, kIdle, 0, 0);
  }
  void tell_client_ended() const { PostThreadMessageW(thread_, kClientEnded, 0, 0); }
  [[nodiscard]] bool idle() const { return held_ == 0; }

 private:
  DWORD thread_;
  volatile LONG held_ = 0;
};

}  // namespace tarnwick::automation::com
