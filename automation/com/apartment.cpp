#include "automation/com/apartment.h"

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

Apartment::Apartment(SharedState& state, const TypeLibrary& types, ProcessLife& life)
    : state_(state), types_(types), life_(life) {}

ComPtr<IUnknown> Apartment::reference_to(const Object& object) {
  const auto [entry, is_new] = living_.try_emplace(object.instance.get(), nullptr);
  if (!is_new) return entry->second;
  ComPtr<IUnknown> reference;
  try {
    reference = adopt((new AutomationObject(*this, object))->identity());
  } catch (...) {
    living_.erase(entry);
    throw;
  }
  entry->second = reference.Get();
  return reference;
}

}  // namespace tarnwick::automation::com
