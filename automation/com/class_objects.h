#pragma once

#include <array>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// The class objects of the seven classes, as COM knows them from construction to destruction:
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

  std::array<DWORD, kClassCount> cookies_{};
};

}  // namespace tarnwick::automation::com
