#pragma once

#include <filesystem>

namespace tarnwick::sqlite {

/// Makes an empty file that nobody but its owner may read or write. Throws
/// std::filesystem::filesystem_error; also when there is such a file already.
void make_private_file(const std::filesystem::path& file);

}  // namespace tarnwick::sqlite
