#pragma once

#include <memory>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// What a client's for-each loop runs on; the caller has the one reference to it.
[[nodiscard]] IEnumVARIANT* new_enumerator(Apartment& apartment, std::shared_ptr<Enumerator> walk);

}  // namespace tarnwick::automation::com
