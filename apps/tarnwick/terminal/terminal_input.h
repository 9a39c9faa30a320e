#pragma once

#include <functional>
#include <utility>

#include "platform/terminal_message_box.h"

namespace tarnwick::cli {

/// Standard input, for as long as a question is open there.
class TerminalInput final {
 public:
  /// What has to be looked after while a question is open.
  struct Meanwhile {
    int file = -1;
    /// Called before the first wait and whenever there is something; false: the question is moot.
    std::function<bool()> look;
  };

  void set_meanwhile(Meanwhile meanwhile) { meanwhile_ = std::move(meanwhile); }

  /// False when nothing was typed until then, or the question is moot.
  [[nodiscard]] bool wait(platform::TerminalMessageBox::Time until) const;

 private:
  Meanwhile meanwhile_;
};

}  // namespace tarnwick::cli
