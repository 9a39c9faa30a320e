#pragma once

#include <span>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// What COM has to know of a class.
struct ClassEntry {
  const CLSID& clsid;
  const IID& interface_id;
  const wchar_t* name;
  const wchar_t* prog_id;  // without version
  /// Carries out a client's wish for a new object.
  ComPtr<IUnknown> (*create)(Apartment& apartment);
};

/// LastCause and Rows stand behind the seven classes of the object model.
inline constexpr std::size_t kComClassCount = kClassCount + 2;

/// The seven classes in the order of ClassId, LastCause and Rows.
[[nodiscard]] std::span<const ClassEntry> class_table();

}  // namespace tarnwick::automation::com
