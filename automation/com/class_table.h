#pragma once

#include <span>

#include "automation/com/type_library.h"

namespace tarnwick::automation::com {

/// What COM has to know of a class.
struct ClassEntry {
  ClassId class_id;
  const CLSID& clsid;
  const IID& interface_id;
  const wchar_t* name;
  const wchar_t* prog_id;  // without version
};

/// The seven classes, in the order of ClassId.
[[nodiscard]] std::span<const ClassEntry> class_table();

}  // namespace tarnwick::automation::com
