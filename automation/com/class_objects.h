#pragma once

#include <array>

#include "automation/com/class_table.h"

namespace tarnwick::automation::com {

/// What makes objects of the class for clients.
[[nodiscard]] ComPtr<IClassFactory> new_class_object(Apartment& apartment, const ClassEntry& entry);

/// The class objects of all classes, as COM knows them from construction to destruction:
/// registered suspended and let go together, for any number of clients (REGCLS_MULTIPLEUSE).
/// Throws Error.
class ClassObjects {
 public:
  explicit ClassObjects(Apartment& apartment);
  ~ClassObjects();
  ClassObjects(const ClassObjects&) = delete;
  ClassObjects& operator=(const ClassObjects&) = delete;

 private:
  void revoke() noexcept;

  std::array<DWORD, kComClassCount> cookies_{};
};

}  // namespace tarnwick::automation::com
