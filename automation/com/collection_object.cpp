#include "automation/com/collection_object.h"

#include <utility>
#include <vector>

#include "automation/com/dual_slots.h"
#include "automation/com/other_interfaces.h"

namespace tarnwick::automation::com {
namespace {

const DualInterface& dual_interface() {
  static const std::vector<Member> members = members_of<Collection>();
  static const DualInterface dual{__uuidof(::_Collection),  nullptr,
                                  L"Tarnwick.Collection",   members,
                                  dual_slots<Collection>(), false};
  return dual;
}

}  // namespace

CollectionObject::CollectionObject(Apartment& apartment, std::shared_ptr<Collection> collection)
    : DispatchObject(apartment, dual_interface()), collection_(std::move(collection)) {}

Value CollectionObject::call(const Member& member, std::span<const Value> arguments) {
  return member.call(collection_.get(), arguments);
}

}  // namespace tarnwick::automation::com
