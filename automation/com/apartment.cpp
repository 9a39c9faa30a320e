#include "automation/com/apartment.h"

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

Apartment::Apartment(SharedState& state, const TypeLibrary& types, ProcessLife& life,
                     const Events& events)
    : state_(state), types_(types), life_(life), events_(events), holder_(life) {}

ComPtr<IUnknown> Apartment::reference_to(const Object& object) {
  if (!object) return nullptr;
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

void Apartment::release_rows_of_ended_clients() {
  const Turn turn = wait_for_turn();
  holder_.release_if_ended();
}

void Apartment::keep_cause() noexcept {
  const FailureCause& cause = state_.failures.last();
  if (cause.kind == ado::FailureKind::kNone) return;
  quietly([&] { events_.failed(u"a client", cause); });
  // For want of memory, or of a caller: the call itself was answered, and its account tells why.
  quietly([&] { causes_.keep(calling_client(), FailureCause(cause)); });
}

}  // namespace tarnwick::automation::com
