#pragma once

#include "state/shared_state.h"

namespace tarnwick {

/// What all classes of the object model have in common. Not thread-safe; `state` must outlive it.
class ModelObject {
 public:
  ModelObject(const ModelObject&) = delete;
  ModelObject& operator=(const ModelObject&) = delete;

  [[nodiscard]] const Text& last_error_msg() const { return state_.errors.message(); }
  [[nodiscard]] std::int32_t last_error_number() const { return state_.errors.number(); }

 protected:
  explicit ModelObject(SharedState& state) : state_(state) {}
  ~ModelObject() = default;

  SharedState& state_;
};

}  // namespace tarnwick
