#pragma once

#include <array>
#include <unordered_map>

#include "automation/com/last_causes.h"
#include "automation/com/process_life.h"
#include "automation/com/type_library.h"
#include "automation/events.h"
#include "automation/model.h"
#include "state/guard.h"

namespace tarnwick::automation::com {

/// The single-threaded apartment in which all objects of the server live. An object of the object
/// model has one COM object as long as any client holds it, so that clients can compare references.
/// All arguments, and this, must outlive the COM objects.
class Apartment {
 public:
  Apartment(SharedState& state, const TypeLibrary& types, ProcessLife& life, const Events& events);

  [[nodiscard]] SharedState& state() { return state_; }
  [[nodiscard]] ProcessLife& life() { return life_; }
  [[nodiscard]] const TypeLibrary& types() const { return types_; }
  [[nodiscard]] LastCauses& causes() { return causes_; }
  [[nodiscard]] const Events& events() const { return events_; }

  /// Runs `body` as a call of a client into the object model. What failed in it is kept for that
  /// client in the end; a call in which nothing failed leaves what is kept.
  template <class Body>
  void carry_out(Body&& body) {
    const Failures::Call call(state_.failures);
    state_.failures.clear();
    try {
      body();
    } catch (...) {
      note_cause(state_);
      keep_cause();
      throw;
    }
    keep_cause();
  }

  /// A new reference to the COM object of `object`; null for Nothing.
  [[nodiscard]] ComPtr<IUnknown> reference_to(const Object& object);

  /// Called by a COM object at its end.
  void forget(const Object& object) { living_.erase(object.instance.get()); }

 private:
  void keep_cause() noexcept;

  SharedState& state_;
  const TypeLibrary& types_;
  ProcessLife& life_;
  const Events& events_;
  LastCauses causes_;
  std::unordered_map<const void*, IUnknown*> living_;
};

}  // namespace tarnwick::automation::com
