#pragma once

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// A variant that is cleared in the end.
class OwnVariant {
 public:
  OwnVariant() { VariantInit(&variant_); }
  ~OwnVariant() { VariantClear(&variant_); }
  OwnVariant(const OwnVariant&) = delete;
  OwnVariant& operator=(const OwnVariant&) = delete;

  [[nodiscard]] VARIANT* get() { return &variant_; }
  const VARIANT* operator->() const { return &variant_; }

 private:
  VARIANT variant_;
};

}  // namespace tarnwick::automation::com
