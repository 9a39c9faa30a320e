#pragma once

#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// Tells every client why the last of its calls that failed did so. Has no state of its own: all
/// objects of the class tell one client the same.
class LastCauseObject final : public DispatchObject {
 public:
  explicit LastCauseObject(Apartment& apartment);

  Value call(const Member& member, std::span<const Value> arguments) override;
};

}  // namespace tarnwick::automation::com
