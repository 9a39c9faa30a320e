#pragma once

#include "pcs/registered_pc.h"

namespace tarnwick {

/// The setters of RegisteredPC that clients do not have, for the code of this library alone.
struct RegisteredPCSetters {
  RegisteredPC& pc;

  void soft_lock(Text value) { pc.set(pc.soft_lock_, std::move(value)); }
  /// Never marks the PC changed.
  void row_version(Text value) { pc.row_version_ = std::move(value); }
  void clear_changed() { pc.changed_ = false; }
};

}  // namespace tarnwick
