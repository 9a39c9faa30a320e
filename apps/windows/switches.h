#pragma once

#include <filesystem>
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
  /// Where the intermediate file goes; empty: where the program finds a place.
  std::filesystem::path folder;
  /// What a registration hands on to the server: the switches that are none of actions, as a
  /// command line has them. Empty when none was given.
  std::wstring passed_on;

  /// Reads the arguments behind the program's name. Actions begin with "/" or "-" and have any
  /// letter case. Nothing, and `complaint` says why, when they cannot be understood.
  [[nodiscard]] static std::optional<Switches> parse(std::span<const std::wstring> arguments,
                                                     std::wstring& complaint);
};

}  // namespace tarnwick::apps
