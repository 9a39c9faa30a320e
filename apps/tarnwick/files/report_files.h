#pragma once

#include <filesystem>
#include <string>

#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// The two files of a report.

/// Writes the report file that is stored with the report to `file`. Whether there is one. Throws
/// Failure.
[[nodiscard]] bool extract_report_file(const Session& session, const Row& report,
                                       const std::filesystem::path& file);

/// The bytes of the report's field definitions; none where it has none. Throws Failure for a
/// character that is no byte.
[[nodiscard]] std::string ttx_bytes(const Row& report);

}  // namespace tarnwick::cli
