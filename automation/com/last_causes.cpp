#include "automation/com/last_causes.h"

#include <algorithm>
#include <utility>

#include "automation/com/errors.h"

namespace tarnwick::automation::com {

// All the room at once: what failed may have been the memory.
LastCauses::LastCauses() { entries_.reserve(kClients); }

void LastCauses::keep(const GUID& client, FailureCause&& cause) noexcept {
  forget(client);
  if (entries_.size() == kClients) entries_.erase(entries_.begin());
  entries_.push_back({client, std::move(cause)});
}

void LastCauses::forget(const GUID& client) noexcept {
  std::erase_if(entries_, [&](const Entry& entry) { return entry.client == client; });
}

const FailureCause& LastCauses::of(const GUID& client) const noexcept {
  static const FailureCause kNone;
  const auto entry = std::ranges::find(entries_, client, &Entry::client);
  return entry == entries_.end() ? kNone : entry->cause;
}

GUID calling_client() {
  GUID client{};
  require(CoGetCurrentLogicalThreadId(&client), u"The caller cannot be told");
  return client;
}

}  // namespace tarnwick::automation::com
