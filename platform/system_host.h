#pragma once

#include <filesystem>
#include <memory>

#include "platform/host.h"

namespace tarnwick::platform {

/// The host of this system. `folder`: where the intermediate file goes; empty means the folder of
/// the executable. `message_box` must outlive it.
[[nodiscard]] std::unique_ptr<Host> make_host(MessageBox& message_box,
                                              std::filesystem::path folder = {});

}  // namespace tarnwick::platform
