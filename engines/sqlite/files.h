#pragma once

#include <filesystem>

namespace tarnwick::sqlite {

// What of the file system each operating system words its own way. Functions throw
// std::filesystem::filesystem_error.

/// Makes an empty file that nobody but its owner may read or write; on Windows, whom the folder
/// lets, as it will the files that SQLite makes beside it. Throws also when there is such a file
/// already.
void make_private_file(const std::filesystem::path& file);

/// Gives `file` the name `name` in one step; throws where something has that name already, whoever
/// has just made it.
void rename_to_new(const std::filesystem::path& file, const std::filesystem::path& name);

/// The one name of a file that is there, by whatever links it is reached.
[[nodiscard]] std::filesystem::path real_path(const std::filesystem::path& file);

/// False where this user is known to be unable to make files in `folder`.
[[nodiscard]] bool may_make_files(const std::filesystem::path& folder);

/// Whether the system's error number `code` says that there is no room left: on the disk, in a
/// quota, or in the largest file that is allowed.
[[nodiscard]] bool is_disk_full(int code);

}  // namespace tarnwick::sqlite
