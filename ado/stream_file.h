#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

#include "ado/enums.h"
#include "ado/error.h"
#include "runtime/variant.h"

namespace tarnwick::ado {

// The files that streams are loaded from and saved to: regular files alone, which neither keep
// anybody waiting nor go on for ever.

/// What one file may have: as much as one value of an embedded database holds.
inline constexpr std::uint64_t kMostFileBytes = 1'000'000'000;

/// Error 3002 when `file` cannot be opened or is no regular file, 3003 when it cannot be read or is
/// larger than kMostFileBytes, which shows before it is read.
[[nodiscard]] Bytes read_file(const std::filesystem::path& file);

/// Error 3004 unless `content` is the content of `file` afterwards; a file that was there is as it
/// was then. The content goes to a file beside it first, which nobody may read who may not read the
/// one that it then takes the place of. Refused: what is there and is no regular file, a symbolic
/// link too, and a file that may not be written; with kCreateNotExist, whatever is there.
void write_file(const std::filesystem::path& file, std::span<const std::byte> content,
                SaveOption option);

/// The error `number` as it is said of `file`.
[[nodiscard]] AdoError file_error(AdoErrorNumber number, const std::filesystem::path& file,
                                  const std::error_code& reason);
[[nodiscard]] AdoError file_error(AdoErrorNumber number, const std::filesystem::path& file,
                                  TextView reason);

inline constexpr TextView kNotRegular = u"Not a regular file";
inline constexpr TextView kSymbolicLink = u"A symbolic link, which is not followed";

/// A name in the folder of `file` that nothing there has: one that is made anew, since a name made
/// from the file's could be longer than names may be.
[[nodiscard]] std::filesystem::path temporary_beside(const std::filesystem::path& file);

}  // namespace tarnwick::ado
