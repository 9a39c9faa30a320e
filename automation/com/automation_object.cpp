#include "automation/com/automation_object.h"

#include <array>
#include <utility>

#include "automation/com/dual_slots.h"
#include "automation/members.h"

namespace tarnwick::automation::com {
namespace {

template <ClassId kClass>
DualInterface dual_interface() {
  using Named = ComClass<kClass>;
  return {__uuidof(typename Named::Interface),
          &Named::clsid(),
          Named::kProgId,
          class_of(kClass).members,
          dual_slots<TypeOf<kClass>>(),
          true};
}

const DualInterface& dual_interface_of(ClassId id) {
  static const auto all = []<std::size_t... kIndex>(std::index_sequence<kIndex...>) {
    return std::array{dual_interface<static_cast<ClassId>(kIndex)>()...};
  }
  (std::make_index_sequence<kClassCount>());
  return all[static_cast<std::size_t>(id)];
}

}  // namespace

AutomationObject::AutomationObject(Apartment& apartment, Object object)
    : DispatchObject(apartment, dual_interface_of(object.class_id)), object_(std::move(object)) {}

Value AutomationObject::call(const Member& member, std::span<const Value> arguments) {
  const auto body = [&] { return automation::call(object_, member, arguments); };
  return locks_record(member) ? apartment().call_locking(object_, body) : body();
}

void AutomationObject::let(const Member& member, const Value& value) {
  automation::let(object_, member, value);
}

}  // namespace tarnwick::automation::com
