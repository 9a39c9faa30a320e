#pragma once

#include <filesystem>

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// Makes the embedded database `name` (file "<name>.db") in `folder`, which is made if it is not
/// there, with the three tables, their triggers and the application role `role`, whose password is
/// kept as a salted hash. Throws AdoError, and leaves nothing behind, when the file exists or
/// cannot be made, or when `role` is empty.
void create_database(const std::filesystem::path& folder, TextView name, TextView role,
                     TextView password);

}  // namespace tarnwick::sqlite
