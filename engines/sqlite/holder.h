#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "runtime/text.h"

namespace tarnwick::sqlite {

/// What the system's tools show of the process that holds a row. UTF-8; empty where the system does
/// not tell.
struct Holder {
  std::string program;  // name of the executable, without its folder
  std::string user;     // under whose name it runs
};

[[nodiscard]] Holder present_process();

/// What the processes that hold rows of the embedded database `name` in `folder` say of themselves,
/// by their ids. Throws AdoError.
[[nodiscard]] std::map<std::int64_t, Holder> holders_of(const std::filesystem::path& folder,
                                                        TextView name);

}  // namespace tarnwick::sqlite
