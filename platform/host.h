#pragma once

#include <filesystem>
#include <optional>
#include <span>

#include "platform/message_box.h"
#include "runtime/date.h"
#include "runtime/text.h"

namespace tarnwick::platform {

/// What the operating system and the program tell the object model. Outlives everything that was
/// given a reference to it.
class Host {
 public:
  virtual ~Host() = default;

  /// Writes the computer name, with a NUL behind it where it fits, into `buffer`. False on failure.
  virtual bool computer_name(std::span<char16_t> buffer) = 0;

  /// Full file name of the module that the process runs, where the system has such a thing.
  [[nodiscard]] virtual std::optional<Text> module_file_name() { return std::nullopt; }

  /// Where the payload routines keep their intermediate file.
  [[nodiscard]] virtual std::filesystem::path folder() = 0;

  [[nodiscard]] virtual Date now() { return local_now(); }

  [[nodiscard]] virtual MessageBox& message_box() = 0;

  /// Stops in an attached debugger; does nothing where there is none.
  virtual void stop_in_debugger() {}
};

}  // namespace tarnwick::platform
