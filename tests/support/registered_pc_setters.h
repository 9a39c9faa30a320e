#pragma once

#include "pcs/registered_pc_properties.h"

namespace tarnwick::test_support {

/// Sets what clients can only read of a PC.
struct RegisteredPCSetters {
  RegisteredPC& pc;

  void soft_lock(Text value) { set_property<RegisteredPC, "SoftLock">(pc, std::move(value)); }
  void row_version(Text value) { set_property<RegisteredPC, "RowVersion">(pc, std::move(value)); }
  void clear_changed() { PropertyAccess::clear_changed(pc); }
};

}  // namespace tarnwick::test_support
