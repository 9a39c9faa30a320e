#pragma once

#include <string>
#include <vector>

#include "runtime/text.h"

namespace tarnwick::cli {

/// What the files of reports with these names are called, without an extension: the name in small
/// letters with hyphens for blanks, where it is made of plain words alone; otherwise what is left
/// of it and a number made of the whole of it. So a report's files are called the same whatever
/// other reports there are, on every file system.
[[nodiscard]] std::vector<std::string> payload_names(const std::vector<Text>& names);

}  // namespace tarnwick::cli
