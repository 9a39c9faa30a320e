#pragma once

#include <filesystem>

namespace tarnwick::sqlite {

/// Makes an empty file that nobody but its owner may read or write; on Windows, whom the folder
/// lets, as it will the files that SQLite makes beside it. Throws
/// std::filesystem::filesystem_error; also when there is such a file already.
void make_private_file(const std::filesystem::path& file);

}  // namespace tarnwick::sqlite
