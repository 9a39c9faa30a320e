#pragma once

#include <filesystem>
#include <functional>

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// Makes the embedded database `name` (file "<name>.db") in `folder`, which is made if it is not
/// there, with the three tables, their triggers and the application role `role`, whose password is
/// kept as a salted hash. `fill`, if given, is told the name that the database has until it is
/// whole, in the same folder, and fills it through a session of its own. Throws AdoError when the
/// file exists or cannot be made, or when `role` is empty, and what `fill` throws; leaves nothing
/// behind then. What a maker leaves that was killed is removed by the next one.
void create_database(const std::filesystem::path& folder, TextView name, TextView role,
                     TextView password, const std::function<void(TextView name)>& fill = {});

}  // namespace tarnwick::sqlite
