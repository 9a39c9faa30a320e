#include "automation/com/dispatch_object.h"

#include <algorithm>

namespace tarnwick::automation::com {

const Member* member_with_id(std::span<const Member> members, DISPID id) {
  if (id == DISPID_VALUE) {
    const auto item = std::ranges::find(members, true, &Member::is_default);
    return item == members.end() ? nullptr : &*item;
  }
  if (id == DISPID_NEWENUM) {
    const auto new_enum = std::ranges::find(
        members, Kind::kEnumerator, [](const Member& member) { return member.result.kind; });
    return new_enum == members.end() ? nullptr : &*new_enum;
  }
  if (id < 1 || static_cast<std::size_t>(id) > members.size()) return nullptr;
  return &members[static_cast<std::size_t>(id) - 1];
}

bool names_an_object(const Member& member) {
  const Kind kind = member.result.kind;
  return member.access == Member::Access::kGet && member.arguments.empty() &&
         (kind == Kind::kObject || kind == Kind::kCollection);
}

}  // namespace tarnwick::automation::com
