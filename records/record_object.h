#pragma once

#include "records/record_lock.h"
#include "records/row_look.h"
#include "state/guard.h"
#include "state/model_object.h"

namespace tarnwick {

enum class Existing : std::uint8_t;
struct PropertyAccess;
template <class Record>
struct Properties;

/// What the three record classes have in common. Errors stay inside: methods return their failure
/// value and leave an account in the error state. Reference-counted.
class RecordObject : public ModelObject {
 public:
  /// Set by setters that change a value; cleared by a successful update, and by a load, which
  /// counts as a change of a component.
  [[nodiscard]] bool changed() const { return changed_; }
  [[nodiscard]] bool locked() const { return lock_.locked(); }

 protected:
  explicit RecordObject(SharedState& state) : ModelObject(state), lock_(state) {}
  ~RecordObject() = default;

  /// A new value that differs marks the record changed: texts compare exactly.
  template <class T>
  void set(T& member, T value) {
    if (member != value) changed_ = true;
    member = std::move(value);
  }

  /// Gives the row back unwritten; `result` where nothing was locked.
  bool release(bool result) {
    if (locked()) succeeds(state_, [&] { result = lock_.release(); });
    return result;
  }

  /// The row was written: it is given back, and the record is unchanged.
  void finish_update() {
    lock_.finish();
    changed_ = false;
  }

  RecordLock lock_;
  bool changed_ = false;
};

}  // namespace tarnwick
