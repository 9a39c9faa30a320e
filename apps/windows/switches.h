#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/unattended_message_box.h"

namespace tarnwick::apps {

/// What Tarnwick.exe is asked to do.
struct Switches {
  enum class Action {
    kIntroduce,  // started by hand
    kServe,      // started by COM
    kRegister,
    kUnregister,
    kRegisterPerUser,
    kUnregisterPerUser,
  };
  Action action = Action::kIntroduce;
  platform::WhenLocked when_locked;
  /// --when-locked as it was given; empty when it was not.
  std::wstring when_locked_text;

  /// Reads the arguments behind the program's name. Actions begin with "/" or "-" and have any
  /// letter case. Nothing, and `complaint` says why, when they cannot be understood.
  [[nodiscard]] static std::optional<Switches> parse(std::span<const std::wstring> arguments,
                                                     std::wstring& complaint);
};

}  // namespace tarnwick::apps
