#pragma once

#include <cstddef>
#include <vector>

#include "automation/com/com.h"
#include "state/failures.h"

namespace tarnwick::automation::com {

/// The last cause of failure of every client, for a bounded number of them: the one whose failure
/// is the oldest is forgotten first. A client is a thread of a client's process, as COM tells it
/// apart (CoGetCurrentLogicalThreadId).
class LastCauses {
 public:
  static constexpr std::size_t kClients = 256;

  LastCauses();

  /// Replaces what was kept for `client`.
  void keep(const GUID& client, FailureCause&& cause) noexcept;
  void forget(const GUID& client) noexcept;
  /// Of kind kNone where nothing is kept.
  [[nodiscard]] const FailureCause& of(const GUID& client) const noexcept;

 private:
  struct Entry {
    GUID client;
    FailureCause cause;
  };

  std::vector<Entry> entries_;  // the oldest first
};

/// Who makes the call that is being carried out. Throws Error where COM cannot tell.
[[nodiscard]] GUID calling_client();

}  // namespace tarnwick::automation::com
