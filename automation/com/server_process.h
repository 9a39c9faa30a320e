#pragma once

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// Waits until threads can have windows that only take messages: a single-threaded apartment gets
/// its calls by one, and COM may make an apartment without it, which no call ever reaches. To be
/// called before the serving thread initializes COM or touches windows. Throws Error.
void wait_for_desktop();

/// Serves clients until none is left: registers the class objects, and ends some seconds after the
/// last object and the last lock of a class object were released. Only one process of a user
/// serves; a second one waits a while in case the first one is about to end, and leaves. To be
/// called on the thread of the apartment, which has to be initialized. Throws Error.
void serve(Apartment& apartment);

}  // namespace tarnwick::automation::com
