#pragma once

#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// A COM object that stands for an object of one of the seven classes.
class AutomationObject final : public DispatchObject {
 public:
  AutomationObject(Apartment& apartment, Object object);

  [[nodiscard]] const Object& object() const { return object_; }

  Value call(const Member& member, std::span<const Value> arguments) override;
  void let(const Member& member, const Value& value) override;

 protected:
  ~AutomationObject() override { apartment().forget(object_); }

 private:
  Object object_;
};

}  // namespace tarnwick::automation::com
