#pragma once

#include <memory>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// A plain keyed collection as clients see it.
[[nodiscard]] ComPtr<IUnknown> new_collection(Apartment& apartment,
                                              std::shared_ptr<Collection> collection);

/// Tells every client why the last of its calls that failed did so. Has no state of its own: all
/// objects of the class tell one client the same.
[[nodiscard]] ComPtr<IUnknown> new_last_cause(Apartment& apartment);

/// See automation::Rows.
[[nodiscard]] ComPtr<IUnknown> new_rows(Apartment& apartment);

}  // namespace tarnwick::automation::com
