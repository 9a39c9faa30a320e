#pragma once

#include <array>
#include <mutex>
#include <unordered_map>

#include "automation/com/last_causes.h"
#include "automation/com/lock_holder.h"
#include "automation/com/process_life.h"
#include "automation/com/type_library.h"
#include "automation/events.h"
#include "automation/model.h"
#include "state/guard.h"

namespace tarnwick::automation::com {

/// Where all objects of the server live. Their calls come on any thread, as that is where the
/// process that calls can be told, and are carried out one after the other. An object of the object
/// model has one COM object as long as any client holds it, so that clients can compare references.
/// All arguments, and this, must outlive the COM objects.
class Apartment {
 public:
  using Turn = std::unique_lock<std::recursive_mutex>;

  Apartment(SharedState& state, const TypeLibrary& types, ProcessLife& life, const Events& events);

  /// Whatever reaches an object or a list waits for its turn: a call may be within another one.
  [[nodiscard]] Turn wait_for_turn() { return Turn(turns_); }

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

  /// The object behind a client's reference, Nothing for a null one. One of another process, or of
  /// another program, is Error 13 with a description that says so; nothing is asked of it.
  [[nodiscard]] Object object_behind(const IUnknown* reference);

  /// Calls `body`, which may leave `record` locked: the lock ends with the process of the client
  /// whose call it is.
  template <class Body>
  auto call_locking(const Object& record, Body&& body) {
    const bool was_locked = is_locked(record);
    auto result = body();
    if (!was_locked && is_locked(record)) holder_.set(record);
    return result;
  }
  /// Releases the row that a process held which has ended since; see ProcessLife::kClientEnded.
  void release_rows_of_ended_clients();

  /// Called by a COM object at its end.
  void forget(const Object& object) noexcept;

 private:
  void keep_cause() noexcept;

  SharedState& state_;
  const TypeLibrary& types_;
  ProcessLife& life_;
  const Events& events_;
  LastCauses causes_;
  std::recursive_mutex turns_;
  LockHolder holder_;
  std::unordered_map<const void*, IUnknown*> living_;
  std::unordered_map<const IUnknown*, const Object*> objects_;  // behind the references of living_
};

}  // namespace tarnwick::automation::com
