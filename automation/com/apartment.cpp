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
    auto* const made = new AutomationObject(*this, object);
    reference = adopt(made->identity());
    objects_.emplace(reference.Get(), &made->object());
  } catch (...) {
    living_.erase(object.instance.get());
    throw;
  }
  entry->second = reference.Get();
  return reference;
}

Object Apartment::object_behind(const IUnknown* reference) {
  if (reference == nullptr) return {};
  const auto entry = objects_.find(reference);
  if (entry == objects_.end()) {
    throw Error(static_cast<std::int32_t>(ErrorNumber::kTypeMismatch),
                u"The object belongs to another process; only objects of this server can be kept "
                u"here.");
  }
  return *entry->second;
}

void Apartment::forget(const Object& object) noexcept {
  const auto entry = living_.find(object.instance.get());
  if (entry == living_.end()) return;
  objects_.erase(entry->second);
  living_.erase(entry);
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
