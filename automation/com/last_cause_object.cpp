#include "automation/com/last_cause_object.h"

#include <vector>

#include "automation/com/dual_slots.h"
#include "automation/com/other_interfaces.h"

namespace tarnwick::automation::com {
namespace {

const DualInterface& dual_interface() {
  static const std::vector<Member> members = members_of<FailureCause>();
  static const DualInterface dual{__uuidof(::_LastCause),     &LastCauseClass::clsid(),
                                  LastCauseClass::kProgId,    members,
                                  dual_slots<FailureCause>(), false};
  return dual;
}

}  // namespace

LastCauseObject::LastCauseObject(Apartment& apartment)
    : DispatchObject(apartment, dual_interface()) {}

Value LastCauseObject::call(const Member& member, std::span<const Value> arguments) {
  const GUID client = calling_client();
  FailureCause cause = apartment().causes().of(client);
  Value result = member.call(&cause, arguments);
  if (cause.kind == ado::FailureKind::kNone) apartment().causes().forget(client);
  return result;
}

}  // namespace tarnwick::automation::com
