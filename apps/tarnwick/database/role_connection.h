#pragma once

#include <memory>

#include "ado/connection.h"

namespace tarnwick::cli {

inline constexpr TextView kDatabase = u"Velmar_Sec";

/// The database beside the object model, for what the object model does not offer: a connection to
/// it in an application role. `trace` may be null; `database` is the one in its folder or on its
/// server. Throws Error.
[[nodiscard]] std::shared_ptr<ado::Connection> open_in_role(ado::Engines engines,
                                                            TextView connect_string, TextView role,
                                                            TextView password,
                                                            ado::Trace* trace = nullptr,
                                                            TextView database = kDatabase);

}  // namespace tarnwick::cli
