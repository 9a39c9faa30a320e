#pragma once

#include "automation/com/dispatch_object.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {

/// A COM object that stands for an object of one of the seven classes.
class AutomationObject final : public DispatchObject, public LocalObject {
 public:
  AutomationObject(Apartment& apartment, Object object);

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    return DispatchObject::QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return DispatchObject::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return DispatchObject::Release(); }

  const Object& object() const override { return object_; }

  Value call(const Member& member, std::span<const Value> arguments) override;
  void let(const Member& member, const Value& value) override;

 protected:
  ~AutomationObject() override { apartment().forget(object_); }
  void* find_interface(REFIID iid) override;

 private:
  Object object_;
};

}  // namespace tarnwick::automation::com
