#pragma once

#include <cstddef>
#include <cstdint>

#include "automation/model.h"

namespace tarnwick::automation::com {

// The ids that automation itself gives to two members (DISPID_VALUE and DISPID_NEWENUM in oaidl.h).
inline constexpr std::int32_t kIdOfDefaultMember = 0;
inline constexpr std::int32_t kIdOfEnumerator = -4;

/// The dispatch id of the member that stands at `place`, from 0, in the table of its class: members
/// are counted from 1, but for the default member and the one that enumerates.
[[nodiscard]] inline std::int32_t dispatch_id(const Member& member, std::size_t place) {
  if (member.is_default) return kIdOfDefaultMember;
  if (member.result.kind == Kind::kEnumerator) return kIdOfEnumerator;
  return static_cast<std::int32_t>(place) + 1;
}

}  // namespace tarnwick::automation::com
